#include "database/Open.h"

#include <algorithm>
#include <thread>

#include "database/sqlite/SqliteFile.h"
#ifdef KVXSTORE_HAS_POSTGRES
#include "database/postgresql/PostgresStore.h"
#endif

namespace storage::kvxstore::database {

namespace {

bool isOnServer(const std::string& url) {
    return url.starts_with("postgresql://") || url.starts_with("postgres://");
}

Connector openOnServer(const std::string& url, CreateMode mode,
                       std::chrono::milliseconds lockPatience, Purpose purpose) {
#ifdef KVXSTORE_HAS_POSTGRES
    return openPostgres(url, mode, lockPatience, purpose);
#else
    static_cast<void>(mode);
    static_cast<void>(lockPatience);
    static_cast<void>(purpose);
    throw StoreError(StoreErrorCode::ILLEGAL_URL,
                     "this software was built without PostgreSQL: " + shownUrl(url));
#endif
}

}  // namespace

std::string shownUrl(const std::string& url) {
    if (!isOnServer(url)) {
        return url;
    }
    std::string shown = url.substr(0, url.find_first_of("?#"));
    const std::size_t start = shown.find("//") + 2;
    const std::size_t end = shown.rfind('@');
    const std::size_t colon = shown.find(':', start);
    if (end != shown.npos && colon < end) {
        shown.erase(colon, end - colon);
    }
    return shown;
}

std::optional<std::string> filePath(const std::string& url) {
    constexpr std::string_view scheme = "sqlite:";
    const auto refuse = [&](const std::string& reason) -> std::string {
        throw StoreError(StoreErrorCode::ILLEGAL_URL, reason + ": " + url);
    };
    if (isOnServer(url)) {
        return std::nullopt;
    }
    if (!url.starts_with(scheme)) {
        refuse("a store's URL begins with \"sqlite:\" or \"postgresql://\"");
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

Threads threadsFor(const std::string& url) {
    if (isOnServer(url)) {
        return {8, 4};
    }
    return {std::clamp(std::thread::hardware_concurrency(), 1U, 4U), 1};
}

Connector open(const std::string& url, CreateMode mode, std::chrono::milliseconds lockPatience,
               Purpose purpose) {
    if (isOnServer(url)) {
        return openOnServer(url, mode, lockPatience, purpose);
    }
    const std::optional<std::string> path = filePath(url);
    if (!path && purpose == Purpose::TARGET) {
        throw StoreError(StoreErrorCode::ILLEGAL_URL, "a store in memory would not last");
    }
    if (!path && mode == CreateMode::MUST_EXIST) {
        throw StoreError(StoreErrorCode::NOT_FOUND, "a store in memory is always new");
    }
    return path ? openSqliteFile(*path, url, mode, lockPatience, purpose) : openSqliteMemory(url);
}

}  // namespace storage::kvxstore::database
