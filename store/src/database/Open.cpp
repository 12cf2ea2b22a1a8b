#include "database/Open.h"

#include "database/sqlite/SqliteFile.h"

namespace storage::kvxstore::database {

std::optional<std::string> filePath(const std::string& url) {
    constexpr std::string_view scheme = "sqlite:";
    const auto refuse = [&](const std::string& reason) -> std::string {
        throw StoreError(StoreErrorCode::ILLEGAL_URL, reason + ": " + url);
    };
    if (url.starts_with("postgresql:") || url.starts_with("postgres:")) {
        refuse("PostgreSQL is not served yet");
    }
    if (!url.starts_with(scheme)) {
        refuse("a store's URL begins with \"sqlite:\"");
    }
    std::string path = url.substr(scheme.size());
    if (path == ":memory:") {
        return std::nullopt;
    }
    if (path.starts_with("//")) {
        path.erase(0, 2);
        if (!path.starts_with('/')) {
            refuse("a file's URL is sqlite:///absolute/path or sqlite:relative/path");
        }
    }
    if (path.empty() || path.find('\0') != std::string::npos) {
        refuse("the URL names no file");
    }
    return path;
}

Connector open(const std::string& url, CreateMode mode, std::chrono::milliseconds lockPatience) {
    const std::optional<std::string> path = filePath(url);
    if (!path && mode == CreateMode::MUST_EXIST) {
        throw StoreError(StoreErrorCode::NOT_FOUND, "a store in memory is always new");
    }
    return path ? openSqliteFile(*path, url, mode, lockPatience) : openSqliteMemory(url);
}

}  // namespace storage::kvxstore::database
