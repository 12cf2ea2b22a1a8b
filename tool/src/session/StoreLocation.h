#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace storage::kvxtool {

/// Which store a command works on.
class StoreLocation {
public:
    /// What `option` names, a URL or a path; when it is empty, KVX_STORE; else the file in the
    /// user's data folder.
    static StoreLocation find(const std::string& option);

    /// The URL by which the store is opened: the same one however the file was named.
    const std::string& url() const { return url_; }
    /// The file of a store that is one.
    const std::optional<std::filesystem::path>& file() const { return file_; }
    /// Whether nobody named it, and so its folder is the tool's to create.
    bool isDefault() const { return isDefault_; }
    /// As messages name it.
    std::string text() const { return file_ ? file_->string() : url_; }

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
