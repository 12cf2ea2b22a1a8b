#include "database/sqlite/SqliteFile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "database/Schema.h"
#include "database/sqlite/FileHead.h"
#include "database/sqlite/SqliteConnection.h"
#include "storage/kvxstore/StoreError.h"

namespace storage::kvxstore::database {

namespace {

constexpr Dialect dialect{"integer primary key autoincrement",
                          "integer primary key",
                          "integer",
                          "blob",
                          "text",
                          "text",
                          "without rowid",
                          ""};

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

/// Refuses a file that is no store, without a change to it. Returns whether the file is empty, as
/// while another program makes the store.
bool examineFile(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || ::access(path.c_str(), R_OK) != 0) {
        throw systemFailure("cannot open", path);
    }
    const bool isFile = S_ISREG(status.st_mode);
    if (isFile && status.st_size == 0) {
        if (::access(path.c_str(), W_OK) != 0) {
            throw systemFailure("cannot open", path);
        }
        return true;
    }
    if (isFile && status.st_nlink > 1) {
        throw StoreError(StoreErrorCode::FILE_CHANGED,
                         "the store's file has a second name (a hard link), where it would get"
                         " other logs: " +
                             path);
    }
    if (!isFile || (!hasStoreHead(path) && !awaitsRollback(path))) {
        throw StoreError(StoreErrorCode::NOT_A_STORE, "not a store file: " + path);
    }
    return false;
}

void checkVersion(std::int64_t version, const std::string& url, Purpose purpose) {
    requirePurpose(purpose, version);
    if (purpose != Purpose::TARGET && version > schemaVersion) {
        throw StoreError(StoreErrorCode::NEWER_VERSION,
                         "the store was made by a newer version of this software (schema " +
                             std::to_string(version) + ", known up to " +
                             std::to_string(schemaVersion) + "): " + url);
    }
}

StoreError tooOld(const std::string& url) {
    return {StoreErrorCode::NOT_WRITABLE,
            "an earlier version of this software made the store, and it must be opened once where"
            " it may be written: " +
                url};
}

/// Whether the tables are there, of the present schema, and not those of a backup that has not been
/// opened yet. Takes no lock that a writer holds.
bool isReady(Connection& connection, const std::string& path, const std::string& url,
             Purpose purpose) {
    if (connection.number("select count(*) from sqlite_schema") == 0) {
        return false;
    }
    if (connection.number("pragma application_id") != applicationId) {
        throw StoreError(StoreErrorCode::NOT_A_STORE, "not a store file: " + path);
    }
    const std::int64_t version = connection.number("select n from schema_version");
    checkVersion(version, url, purpose);
    return purpose == Purpose::TARGET ||
           (version == schemaVersion &&
            (purpose == Purpose::SOURCE ||
             connection.number("select count(*) from identity where id = ''") == 0));
}

/// Makes the tables ready unless another program did so meanwhile.
void makeReady(Connection& connection, Purpose purpose) {
    connection.execute("pragma page_size = 16384");
    // Only prepared: run, it would make the file's first page, and other programs would find that.
    // It settles the size of pages, too.
    connection.execute("explain pragma auto_vacuum = incremental");
    Transaction transaction(connection, Access::WRITE);
    if (connection.number("select count(*) from sqlite_schema") == 0) {
        connection.execute("pragma application_id = " + std::to_string(applicationId));
        createSchema(connection, dialect, purpose);
    }
    upgradeSchema(connection);
    connection.execute("update identity set id = $1 where id = ''", {newIdentity()});
    transaction.commit();
}

SqliteLocation newMemory() {
    static std::atomic<unsigned> count = 0;
    // The slash makes the connections of this process share the database.
    return {"/kvxstore-" + std::to_string(++count), std::make_shared<std::mutex>(), {}, {}};
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
Connector openLocation(const SqliteLocation& location, const std::string& url, Purpose purpose) {
    // The connector keeps it, because a database in memory ends with its last connection.
    std::shared_ptr<SqliteConnection> first;
    retryWhileBusy(location.lockPatience, [&] {
        if (!first) {
            first = std::make_shared<SqliteConnection>(location);
        }
        if (!isReady(*first, location.name, url, purpose)) {
            makeReady(*first, purpose);
            // Another program may have made them, for another purpose.
            isReady(*first, location.name, url, purpose);
        }
        first->execute("pragma journal_mode = wal");
    });
    return [location, first] { return std::make_unique<SqliteConnection>(location); };
}

/// Connects to a file, and changes nothing of it.
Connector openSource(const SqliteLocation& location, const std::string& url) {
    return [location, url] {
        auto connection = std::make_unique<SqliteConnection>(location);
        connection->execute("pragma query_only = on");
        if (!isReady(*connection, location.name, url, Purpose::SOURCE)) {
            throw tooOld(url);
        }
        return connection;
    };
}

/// Whether the file may be written, and the log that a change needs.
bool mayWrite(const std::string& path) {
    const auto may = [](const std::string& name) { return ::access(name.c_str(), W_OK) == 0; };
    return may(path) && (may(std::filesystem::path(path).parent_path()) ||
                         (may(path + "-wal") && may(path + "-shm")));
}

/// Connects to a file that may not be written.
Connector openReadOnly(const std::string& path, const std::string& url,
                       std::chrono::milliseconds lockPatience) {
    SqliteLocation location = newMemory();
    location.lockPatience = lockPatience;
    location.readOnlyFile = path;
    // The connector keeps it, because a database in memory ends with its last connection.
    auto first = std::make_shared<SqliteConnection>(location);
    Transaction transaction(*first, Access::READ);
    const std::int64_t version = first->number("select n from schema_version");
    checkVersion(version, url, Purpose::USE);
    if (version < schemaVersion) {
        throw tooOld(url);
    }
    transaction.commit();
    return [location, first] { return std::make_unique<SqliteConnection>(location); };
}

/// Absolute, so that it stays the same when the program changes its folder, and none of the forms
/// that mean something else to SQLite.
std::string absolutePath(const std::string& path) {
    std::error_code error;
    std::string absolute = std::filesystem::absolute(path, error);
    if (error) {
        throw StoreError(StoreErrorCode::NOT_FOUND, "cannot open " + path + ": " + error.message());
    }
    return absolute;
}

/// REQUIRES: the file exists.
std::string withoutLinks(const std::string& path) {
    std::error_code error;
    std::string real = std::filesystem::canonical(path, error);
    if (error) {
        throw StoreError(codeOfSystemError(error.value()),
                         "cannot open " + path + ": " + error.message());
    }
    return real;
}

}  // namespace

Connector openSqliteMemory(const std::string& url) {
    return openLocation(newMemory(), url, Purpose::USE);
}

Connector openSqliteFile(const std::string& path, const std::string& url, CreateMode mode,
                         std::chrono::milliseconds lockPatience, Purpose purpose) {
    const std::string absolute = absolutePath(path);
    const bool made = claimFile(absolute, mode);
    try {
        const std::string real = withoutLinks(absolute);
        const SqliteLocation location{real, nullptr, lockPatience, {}};
        if (purpose == Purpose::SOURCE && mayWrite(real)) {
            return openSource(location, url);
        }
        if (purpose == Purpose::TARGET && !mayWrite(real)) {
            throw StoreError(StoreErrorCode::NOT_WRITABLE, notWritable);
        }
        return mayWrite(real) ? openLocation(location, url, purpose)
                              : openReadOnly(real, url, lockPatience);
    } catch (...) {
        if (made) {
            ::unlink(absolute.c_str());
        }
        throw;
    }
}

}  // namespace storage::kvxstore::database
