#include "database/sqlite/SqliteFile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>

#include "database/Schema.h"
#include "database/sqlite/SqliteConnection.h"
#include "storage/kvxstore/StoreError.h"

namespace storage::kvxstore::database {

namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t applicationId = 0x4B565853;  // "KVXS"

/// The error of a system call on the file, taken from errno.
StoreError systemFailure(const std::string& action, const std::string& path) {
    return {codeOfSystemError(errno), action + ' ' + path + ": " + std::strerror(errno)};
}

/// Makes an empty file that only its owner may read; false when the file exists.
bool makeFile(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0 && errno != EEXIST) {
        throw systemFailure("cannot create", path);
    }
    if (file >= 0) {
        ::close(file);
    }
    return file >= 0;
}

/// A URI under which SQLite reads the file without lock, recovery or change.
std::string bareUri(const std::string& path) {
    std::string uri = "file:";
    for (const char c : path) {
        switch (c) {
            case '%':
                uri += "%25";
                break;
            case '?':
                uri += "%3f";
                break;
            case '#':
                uri += "%23";
                break;
            default:
                uri += c;
        }
    }
    return uri + "?immutable=1";
}

/// Whether the file begins like a store. Looks at the head alone, because the rest may still need
/// recovery from a crash.
bool hasStoreHead(const std::string& path) {
    // Closing a descriptor of our own would drop the locks that other connections of this process
    // hold on the file.
    sqlite3* database = nullptr;
    sqlite3_file* file = nullptr;
    std::array<unsigned char, 72> head{};
    if (sqlite3_open_v2(bareUri(path).c_str(), &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI,
                        nullptr) == SQLITE_OK &&
        sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK) {
        file->pMethods->xRead(file, head.data(), static_cast<int>(head.size()), 0);
    }
    sqlite3_close(database);
    constexpr std::string_view magic = "SQLite format 3\0"sv;
    constexpr std::array<unsigned char, 4> id{applicationId >> 24U, applicationId >> 16U & 0xFFU,
                                              applicationId >> 8U & 0xFFU, applicationId & 0xFFU};
    return std::equal(magic.begin(), magic.end(), head.begin()) &&
           std::equal(id.begin(), id.end(), head.begin() + 68);
}

/// Whether a journal waits to undo a transaction that was cut short, such as the store's creation.
bool awaitsRollback(const std::string& path) {
    constexpr std::string_view magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    std::string head(magic.size(), '\0');
    std::ifstream(path + "-journal", std::ios::binary).read(head.data(), std::ssize(head));
    return head == magic;
}

/// Refuses a file that is no store, without a change to it. Returns whether the file is empty, as
/// while another program makes the store.
bool examineFile(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || ::access(path.c_str(), R_OK | W_OK) != 0) {
        throw systemFailure("cannot open", path);
    }
    const bool isFile = S_ISREG(status.st_mode);
    if (isFile && status.st_size == 0) {
        return true;
    }
    if (!isFile || (!hasStoreHead(path) && !awaitsRollback(path))) {
        throw StoreError(StoreErrorCode::NOT_A_STORE, "not a store file: " + path);
    }
    return false;
}

/// Makes the tables unless another program did so meanwhile.
void makeTables(Connection& connection, const std::string& path) {
    connection.execute("pragma page_size = 16384");
    // Only prepared: run, it would make the file's first page, and other programs would find that.
    // It settles the size of pages, too.
    connection.execute("explain pragma auto_vacuum = incremental");
    Transaction transaction(connection, Access::WRITE);
    if (connection.number("select count(*) from sqlite_schema") == 0) {
        connection.execute("pragma application_id = " + std::to_string(applicationId));
        createSchema(connection);
    } else if (connection.number("pragma application_id") != applicationId) {
        throw StoreError(StoreErrorCode::NOT_A_STORE, "not a store file: " + path);
    } else {
        upgradeSchema(connection);
    }
    transaction.commit();
}

void checkVersion(Connection& connection, const std::string& url) {
    const std::int64_t version = connection.number("select n from schema_version");
    if (version > schemaVersion) {
        throw StoreError(StoreErrorCode::NEWER_VERSION,
                         "the store was made by a newer version of this software (schema " +
                             std::to_string(version) + ", known up to " +
                             std::to_string(schemaVersion) + "): " + url);
    }
}

SqliteLocation newMemory() {
    static std::atomic<unsigned> count = 0;
    // The slash makes the connections of this process share the database.
    return {"/kvxstore-" + std::to_string(++count), std::make_shared<std::mutex>()};
}

/// Decides by the mode whether the file may be used; returns whether this call made it.
bool claimFile(const std::string& path, CreateMode mode) {
    const bool made = mode != CreateMode::MUST_EXIST && makeFile(path);
    if (!made) {
        if (mode == CreateMode::MUST_BE_NEW) {
            throw StoreError(StoreErrorCode::ALREADY_EXISTS, "there is a file already: " + path);
        }
        if (examineFile(path) && mode == CreateMode::MUST_EXIST) {
            throw StoreError(StoreErrorCode::NOT_A_STORE, "not a store file: " + path);
        }
    }
    return made;
}

/// Connects to the database, and makes the tables if it has none.
Connector openLocation(const SqliteLocation& location, const std::string& url) {
    // The connector keeps it, because a database in memory ends with its last connection.
    auto first = std::make_shared<SqliteConnection>(location);
    retryWhileBusy([&] {
        makeTables(*first, location.name);
        checkVersion(*first, url);
        first->execute("pragma journal_mode = wal");
    });
    return [location, first] { return std::make_unique<SqliteConnection>(location); };
}

}  // namespace

Connector openSqliteMemory(const std::string& url) { return openLocation(newMemory(), url); }

Connector openSqliteFile(const std::string& path, const std::string& url, CreateMode mode) {
    const bool made = claimFile(path, mode);
    try {
        return openLocation({path, nullptr}, url);
    } catch (...) {
        if (made) {
            ::unlink(path.c_str());
        }
        throw;
    }
}

}  // namespace storage::kvxstore::database
