#include "database/SqliteFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <optional>

#include "database/Schema.h"
#include "database/SqliteConnection.h"
#include "storage/kvxstore/Store.h"

namespace storage::kvxstore::database {

namespace {

constexpr std::uint32_t applicationId = 0x4B565853;  // "KVXS"

/// The path that the URL names; empty for a database in memory.
std::string pathOf(const std::string& url) {
    constexpr std::string_view scheme = "sqlite:";
    std::string path = url.substr(scheme.size());
    if (path == ":memory:") {
        return {};
    }
    if (path.starts_with("//")) {
        path.erase(0, 2);
        if (!path.starts_with('/')) {
            throw StoreError("a file's URL is sqlite:///absolute/path or sqlite:relative/path: " +
                             url);
        }
    }
    if (path.empty() || path.find('\0') != std::string::npos) {
        throw StoreError("the URL names no file: " + url);
    }
    return path;
}

/// Makes an empty file that only its owner may read; false when there is one already.
bool makeFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0 && errno != EEXIST) {
        throw StoreError("cannot create " + path + ": " + std::strerror(errno));
    }
    if (file >= 0) {
        ::close(file);
    }
    return file >= 0;
}

/// Refuses what is no store by its first bytes, before the database engine touches it. Returns
/// whether the file is empty, as one that is just being made.
bool examineFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        throw StoreError("cannot open " + path + ": " + std::strerror(errno));
    }
    std::array<unsigned char, 72> head{};
    const ssize_t size = ::read(file, head.data(), head.size());
    ::close(file);
    if (size == 0) {
        return true;
    }
    constexpr std::size_t idOffset = 68;
    std::uint32_t id = 0;
    for (std::size_t i = idOffset; i < idOffset + 4; ++i) {
        id = id << 8U | head[i];
    }
    if (size != static_cast<ssize_t>(head.size()) ||
        std::memcmp(head.data(), "SQLite format 3", 16) != 0 || id != applicationId) {
        throw StoreError("not a store file: " + path);
    }
    return false;
}

/// Makes the tables unless another program did so meanwhile.
void makeTables(Connection& connection) {
    connection.execute("pragma page_size = 16384");
    Transaction transaction(connection, Access::WRITE);
    if (connection.number("select count(*) from sqlite_schema") == 0) {
        connection.execute("pragma application_id = " + std::to_string(applicationId));
        createSchema(connection);
    }
    transaction.commit();
}

void checkVersion(Connection& connection, const std::string& url) {
    const std::int64_t version = connection.number("select n from schema_version");
    if (version > schemaVersion) {
        throw StoreError("the store was made by a newer version of this software (schema " +
                         std::to_string(version) + ", known up to " +
                         std::to_string(schemaVersion) + "): " + url);
    }
}

SqliteLocation newMemory() {
    static std::atomic<unsigned> count = 0;
    // The slash lets several connections of this process share the database.
    return {"/kvxstore-" + std::to_string(++count), std::make_shared<std::mutex>()};
}

/// Decides by the mode whether the file may be used; returns whether this call made it.
bool claimFile(const std::string& path, CreateMode mode) {
    const bool made = mode != CreateMode::MUST_EXIST && makeFile(path);
    if (!made) {
        if (mode == CreateMode::MUST_BE_NEW) {
            throw StoreError("there is a file already: " + path);
        }
        if (examineFile(path) && mode == CreateMode::MUST_EXIST) {
            throw StoreError("not a store file: " + path);
        }
    }
    return made;
}

}  // namespace

Connector openSqlite(const std::string& url, CreateMode mode) {
    const std::string path = pathOf(url);
    const bool inMemory = path.empty();
    if (inMemory && mode == CreateMode::MUST_EXIST) {
        throw StoreError("a store in memory is always new");
    }
    const bool made = !inMemory && claimFile(path, mode);
    const SqliteLocation location = inMemory ? newMemory() : SqliteLocation{path, nullptr};
    try {
        // Held by the connector, since a database in memory ends with its last connection.
        auto first = std::make_shared<SqliteConnection>(location);
        makeTables(*first);
        checkVersion(*first, url);
        first->execute("pragma journal_mode = wal");
        return [location, first] { return std::make_unique<SqliteConnection>(location); };
    } catch (const std::exception& error) {
        if (made) {
            ::unlink(path.c_str());
        }
        if (dynamic_cast<const StoreError*>(&error) != nullptr) {
            throw;
        }
        throw StoreError("cannot open the store " + url + ": " + error.what());
    }
}

}  // namespace storage::kvxstore::database
