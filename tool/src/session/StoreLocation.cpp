#include "session/StoreLocation.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "storage/kvxstore/Store.h"
#include "ui/Failure.h"

namespace storage::kvxtool {
namespace {

std::string environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr ? value : "";
}

bool isOfServer(const std::string& url) {
    return url.starts_with("kvx://") || url.starts_with("kvx+");
}

/// The file of a URL, or the path that is given instead of a URL.
std::optional<std::filesystem::path> fileOf(const std::string& urlOrPath) {
    if (isOfServer(urlOrPath)) {
        return std::nullopt;
    }
    const bool isUrl =
        urlOrPath.starts_with("sqlite:") || urlOrPath.find("://") != std::string::npos;
    return isUrl ? kvxstore::Store::filePath(urlOrPath) : urlOrPath;
}

}  // namespace

StoreLocation StoreLocation::find(const std::string& option) {
    if (!option.empty()) {
        return StoreLocation(option);
    }
    if (const std::string store = environment("KVX_STORE"); !store.empty()) {
        return StoreLocation(store);
    }
    StoreLocation location(userFolder("XDG_DATA_HOME", ".local/share") / "kvx" / "store.db");
    location.isDefault_ = true;
    return location;
}

StoreLocation::StoreLocation(const std::string& urlOrPath)
    : url_(urlOrPath), file_(fileOf(urlOrPath)) {
    if (file_) {
        std::error_code unresolved;
        const auto absolute = std::filesystem::absolute(*file_);
        const auto resolved = std::filesystem::weakly_canonical(absolute, unresolved);
        file_ = unresolved ? absolute : resolved;
        url_ = "sqlite://" + file_->string();
    }
}

std::string StoreLocation::loginUrl() const {
    return isRemote() ? url_.substr(0, url_.find('?')) : kvxstore::Store::shownUrl(url_);
}

bool StoreLocation::isRemote() const { return isOfServer(url_); }

std::vector<std::filesystem::path> StoreLocation::files() const {
    std::vector<std::filesystem::path> files;
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        if (file_) {
            files.emplace_back(file_->string() + suffix);
        }
    }
    return files;
}

std::filesystem::path userFolder(const char* variable, const char* fallback) {
    std::filesystem::path named = environment(variable);
    if (named.is_absolute()) {
        return named;
    }
    std::string home = environment("HOME");
    if (home.empty()) {
        const passwd* user = getpwuid(geteuid());
        home = user != nullptr ? user->pw_dir : "";
    }
    if (home.empty()) {
        throw Failure(ExitCode::FAILED, "HOME", "there is no home folder: set HOME");
    }
    return std::filesystem::path(home) / fallback;
}

}  // namespace storage::kvxtool
