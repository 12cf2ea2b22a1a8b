#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace storage::kvxtool {

/// Which store a command works on.
class StoreLocation {
public:
    /// What `option` names, a URL or a path; when it is empty, KVX_STORE; else the file in the
    /// user's data folder. Throws StoreError for a URL that no store has.
    static StoreLocation find(const std::string& option);

    /// The URL by which the store is opened: the same for every way to name the file.
    const std::string& url() const { return url_; }
    /// The file of the store; empty for a store that is not kept in a file.
    const std::optional<std::filesystem::path>& file() const { return file_; }
    /// Whether it lies on a database server that this program connects to.
    bool isOnDatabaseServer() const { return !file_ && url_.starts_with("postgres"); }
    /// Whether it is a server's.
    bool isRemote() const;
    /// What the user's login is kept for: the URL without the options of a connection.
    std::string loginUrl() const;
    /// Whether nobody named it, so that its folder is for the tool to create.
    bool isDefault() const { return isDefault_; }
    /// The file and those that the store may have beside it; none for a store that is no file.
    std::vector<std::filesystem::path> files() const;
    /// As messages name it.
    std::string text() const { return file_ ? file_->string() : loginUrl(); }

private:
    explicit StoreLocation(const std::string& urlOrPath);

    std::string url_;
    std::optional<std::filesystem::path> file_;
    bool isDefault_ = false;
};

/// The folder that an XDG variable names, or `fallback` below the home folder. Throws Failure when
/// there is no home folder.
std::filesystem::path userFolder(const char* variable, const char* fallback);

}  // namespace storage::kvxtool
