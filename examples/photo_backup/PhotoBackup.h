#pragma once

#include <storage/kvxclient.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace example {

struct Photo {
    std::u16string name;
    std::string content;
};

/// What became of the photos of one run.
struct BackupReport {
    unsigned stored = 0;
    unsigned alreadyThere = 0;
    /// Photos that another one had the name of, with the names that they have now.
    std::vector<std::pair<std::u16string, std::u16string>> renamed;
    std::vector<std::pair<std::u16string, storage::kvxclient::KVXClientErrorCode>> failed;
    bool isCancelled = false;
};

/// Puts photos into a folder. Never replaces a file: a photo whose name is taken by another content
/// gets a number. Goes on when the network fails for a while or the session expires.
class PhotoBackup {
public:
    struct Options {
        std::string token;
        storage::kvxclient::Resource folder{u"/photos", u""};
        unsigned attempts = 4;
        /// Waits before another attempt; a test returns at once.
        std::function<void(std::chrono::milliseconds)> wait;
    };

    PhotoBackup(storage::kvxclient::KVXClient& client, Options options);

    BackupReport run(const std::vector<Photo>& photos);

    /// Ends run() soon, on whichever thread it runs.
    void cancel();

private:
    using Code = storage::kvxclient::KVXClientErrorCode;

    enum class Stored { NEW, SAME, TAKEN };

    /// Makes calls until they succeed, fail for good or have failed too often.
    void persist(const std::function<void()>& calls);
    void logIn();
    void makeFolder();
    /// Stores under this name unless there is a file; then tells whether it is the same.
    Stored store(const storage::kvxclient::Resource& place, const std::string& content);
    void upload(const storage::kvxclient::Resource& place, const std::string& content) const;
    void backUp(const Photo& photo, BackupReport& report);
    storage::kvxclient::Resource placeOf(const std::u16string& name) const;

    storage::kvxclient::KVXClient& client_;
    const Options options_;
    const std::unique_ptr<storage::kvxclient::FileAccess> files_;
    std::atomic<bool> isCancelled_{false};
};

}  // namespace example
