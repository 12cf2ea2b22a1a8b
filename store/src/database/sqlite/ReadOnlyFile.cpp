#include "database/sqlite/ReadOnlyFile.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "database/Connection.h"
#include "database/sqlite/FileHead.h"
#include "database/sqlite/SqliteConnection.h"

namespace storage::kvxstore::database {

namespace {

// Opening a handle or a download counts in the bucket, and its end makes garbage.
constexpr const char* tableStatements =
    "select sql from store.sqlite_schema where sql is not null and tbl_name in"
    " ('sessions', 'instances', 'handles', 'downloads', 'garbage', 'charges',"
    " 'buckets')"
    " and not exists(select 1 from main.sqlite_schema) order by rowid";

// A session ends when its user's token was replaced. Handles and downloads of this store stay while
// their content is in the file; the handles of a store in memory have their instance there.
constexpr const char* fillStatements =
    "create table if not exists main.known_tokens(hash blob primary key, owner integer not null);"
    "delete from main.sessions where owner in (select k.owner from main.known_tokens k"
    " where not exists(select 1 from store.tokens t where t.hash = k.hash));"
    "delete from main.known_tokens;"
    "insert into main.known_tokens select hash, owner from store.tokens;"
    "delete from main.handles where instance not in (select id from main.instances) or not exists"
    "(select 1 from store.versions v where v.node = handles.node and v.content = handles.base);"
    "insert or ignore into main.handles select * from store.handles;"
    "delete from main.downloads where not exists"
    "(select 1 from store.versions v where v.content = downloads.content);"
    "insert or ignore into main.downloads select * from store.downloads;"
    "delete from main.garbage;"
    "insert into main.garbage select * from store.garbage;"
    "delete from main.charges;"
    "insert into main.charges select * from store.charges;"
    "delete from main.buckets;"
    "insert into main.buckets select * from store.buckets;";

}  // namespace

ReadOnlyFile::ReadOnlyFile(sqlite3* database, std::string path)
    : database_(database), path_(std::move(path)) {}

ReadOnlyFile::State ReadOnlyFile::currentState(bool looksForLog) const {
    struct stat file {};
    if (::stat(path_.c_str(), &file) != 0) {
        throw DatabaseError(codeOfSystemError(errno),
                            "cannot open " + path_ + ": " + std::strerror(errno));
    }
    struct stat log {};
    State state{file.st_dev, file.st_ino};
    state.hasLog = looksForLog && ::stat((path_ + "-wal").c_str(), &log) == 0 && log.st_size > 0;
    if (!state.hasLog) {
        state.size = file.st_size;
        state.seconds = file.st_mtim.tv_sec;
        state.nanoseconds = file.st_mtim.tv_nsec;
    }
    return state;
}

void ReadOnlyFile::run(const std::string& sql) const {
    requireSuccess(database_, sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr));
}

void ReadOnlyFile::attach() {
    constexpr int mostTries = 20;
    // A writer makes the log before its index, and removes both when it ends.
    for (int tries = 1; !tryToAttach(tries == mostTries); ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

bool ReadOnlyFile::tryToAttach(bool isLastTry) {
    const State now = currentState();
    if (attached_ == now) {
        return true;
    }
    if (attached_) {
        run("detach store");
        attached_.reset();
    }
    filled_.reset();
    if (awaitsRollback(path_)) {
        throw DatabaseError(StoreErrorCode::NOT_WRITABLE,
                            "the store may not be written, and " + path_ +
                                "-journal holds a change that has to be undone first");
    }
    const std::string uri = fileUri(path_) + "?vfs=" + sqlite3_vfs_find(nullptr)->zName +
                            (now.hasLog ? "&mode=ro" : "&immutable=1");
    try {
        run("attach '" + uri + "' as store");
    } catch (const DatabaseError& error) {
        if (!now.hasLog || error.code() == StoreErrorCode::IN_USE) {
            throw;
        }
        if (!isLastTry) {
            return false;
        }
        throw DatabaseError(StoreErrorCode::NOT_WRITABLE,
                            "the store may not be written, and its log cannot be read without an"
                            " index (-shm) that fits: " +
                                path_ + "-wal");
    }
    attached_ = now;
    run("pragma store.cache_size = -8192");
    return true;
}

unsigned ReadOnlyFile::version() const {
    unsigned version = 0;
    requireSuccess(database_,
                   sqlite3_file_control(database_, schema, SQLITE_FCNTL_DATA_VERSION, &version));
    return version;
}

void ReadOnlyFile::makeTables() const {
    std::string script;
    sqlite3_stmt* rows = nullptr;
    requireSuccess(database_, sqlite3_prepare_v2(database_, tableStatements, -1, &rows, nullptr));
    while (sqlite3_step(rows) == SQLITE_ROW) {
        script += reinterpret_cast<const char*>(sqlite3_column_text(rows, 0));
        script += ';';
    }
    requireSuccess(database_, sqlite3_finalize(rows));
    run(script);
}

bool ReadOnlyFile::fillMemory() {
    const unsigned present = version();
    if (filled_ == present) {
        return false;
    }
    makeTables();
    run(fillStatements);
    filled_ = present;
    return true;
}

void ReadOnlyFile::requireUnchanged() {
    if (attached_->hasLog) {
        return;
    }
    // A log that appears is no change: what is in it is not in the file yet.
    if (currentState(false) != *attached_) {
        throw DatabaseError(StoreErrorCode::FILE_CHANGED,
                            "the store's file was changed while it was read: " + path_);
    }
}

}  // namespace storage::kvxstore::database
