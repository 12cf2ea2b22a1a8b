#pragma once

#include <string>

namespace storage::kvxstore::database {

/// A file that appears under its name only when it is complete, and never replaces another.
class NewFile {
public:
    /// Makes an empty file beside the target, readable for its owner only. Throws a StoreError,
    /// with ALREADY_EXISTS when there is a file of the target's name, or one that SQLite would take
    /// for a part of it.
    explicit NewFile(const std::string& target);
    /// Removes what was not published.
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// The absolute path to write to.
    const std::string& temporary() const { return temporary_; }

    /// Syncs the file and gives it its name. Throws as the constructor does.
    /// REQUIRES: nobody has the file open.
    void publish();

private:
    void requireUnused() const;
    void syncFolder() const;

    std::string target_;
    std::string temporary_;
};

}  // namespace storage::kvxstore::database
