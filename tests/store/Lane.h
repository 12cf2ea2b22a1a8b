#pragma once

#include <map>
#include <random>
#include <string>

#include "StoreFixture.h"

namespace storage::kvxstore {

/// A writer in a folder of its own that takes one random step after another, and the model of what
/// they come to. A copy goes on with the same steps, so that a test can follow a writer it lost.
class Lane {
public:
    struct Step {
        enum class Kind { PUT, EDIT, ABORT, REMOVE, MOVE, COPY, RENAME_FOLDER };
        Kind kind;
        std::u16string path;
        std::u16string target;
        std::string bytes;
        unsigned long offset;
        bool keepOld;
    };

    explicit Lane(unsigned number);

    /// Makes the lane's folders in the caller's bucket.
    void makeFolders(const Account& account) const;

    /// Chooses the next step and takes it in the model.
    Step next();
    static void perform(const Account& account, const Step& step);

    /// Goes on by the acknowledged steps, and by one more where the store holds that one too: the
    /// step under way. Returns what is in the store instead, or nothing when it is one of both.
    std::string settle(const Account& account, unsigned acknowledged);

private:
    using Versions = std::map<int, std::string>;

    std::u16string randomPath();
    void take(const Step& step);
    void revise(const Step& step, std::string content);
    void renameFolder(const Step& step);
    std::map<std::u16string, Versions> observe(const Account& account) const;

    std::u16string root_;
    std::vector<std::u16string> folders_;
    std::map<std::u16string, Versions> files_;
    std::mt19937 random_;
    unsigned renames_ = 0;
};

}  // namespace storage::kvxstore
