#include "database/sqlite/SqliteConnection.h"

#include <sqlite3.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <limits>
#include <thread>
#include <utility>

#include "database/sqlite/Rebuild.h"
#include "database/sqlite/SqliteCopy.h"

namespace storage::kvxstore::database {

namespace {

DatabaseError failure(sqlite3* database, int code) {
    const int number = sqlite3_system_errno(database);
    switch (code & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return {StoreErrorCode::IN_USE, "another program keeps the store locked"};
        case SQLITE_FULL:
            return {StoreErrorCode::FULL, "the disk is full"};
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return {StoreErrorCode::DAMAGED, "the store's file is damaged"};
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return {StoreErrorCode::NOT_WRITABLE, notWritable};
        case SQLITE_CANTOPEN:
            return {codeOfSystemError(number), "the store's file cannot be opened"};
        case SQLITE_NOMEM:
            return {StoreErrorCode::OTHER, "there is not enough memory"};
        case SQLITE_IOERR:
            if (codeOfSystemError(number) == StoreErrorCode::FULL) {
                return {StoreErrorCode::FULL, "the disk is full"};
            }
            return {codeOfSystemError(number),
                    std::string("the store's file cannot be read or written: ") +
                        std::strerror(number)};
        default:
            // The statements are right, so SQLITE_ERROR means tables that are not.
            return {(code & 0xff) == SQLITE_ERROR ? StoreErrorCode::DAMAGED : StoreErrorCode::OTHER,
                    std::string("the database failed: ") + sqlite3_errmsg(database)};
    }
}

void check(sqlite3* database, int code) {
    if (code != SQLITE_OK) {
        throw failure(database, code);
    }
}

struct Binder {
    sqlite3_stmt* statement;
    int index;
    sqlite3_destructor_type lifetime;

    int operator()(std::int64_t value) const { return sqlite3_bind_int64(statement, index, value); }
    int operator()(std::string_view text) const {
        return sqlite3_bind_text64(statement, index, text.empty() ? "" : text.data(), text.size(),
                                   lifetime, SQLITE_UTF8);
    }
    int operator()(Blob blob) const {
        return sqlite3_bind_blob64(statement, index, blob.bytes.empty() ? "" : blob.bytes.data(),
                                   blob.bytes.size(), SQLITE_STATIC);
    }
    int operator()(FreeText text) const { return (*this)(text.bytes); }
};

/// Debian's SQLite has no such function.
void countOctets(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
    sqlite3_result_int(context, sqlite3_value_bytes(values[0]));
}

/// Two programs on one file poll more often than a commit takes, so that each soon gets its turn.
int waitBriefly(void* hadToWait, int tries) {
    *static_cast<bool*>(hadToWait) = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return tries < 50;
}

}  // namespace

StoreErrorCode codeOfSystemError(int number) {
    switch (number) {
        case ENOENT:
        case ENOTDIR:
            return StoreErrorCode::NOT_FOUND;
        case EISDIR:
            return StoreErrorCode::NOT_A_STORE;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return StoreErrorCode::FULL;
        case EACCES:
        case EPERM:
        case EROFS:
            return StoreErrorCode::NOT_WRITABLE;
        default:
            return StoreErrorCode::OTHER;
    }
}

void requireSuccess(sqlite3* database, int code) { check(database, code); }

class SqliteStatement final : public Statement {
public:
    SqliteStatement(sqlite3* database, std::string_view sql) : database_(database) {
        check(database, sqlite3_prepare_v3(database, sql.data(), static_cast<int>(sql.size()),
                                           SQLITE_PREPARE_PERSISTENT, &statement_, nullptr));
        // SQLite treats $1, $2, ... as names and numbers them in order of appearance.
        for (int number = 1; number <= sqlite3_bind_parameter_count(statement_); ++number) {
            const std::string name = '$' + std::to_string(number);
            indexes_.push_back(sqlite3_bind_parameter_index(statement_, name.c_str()));
        }
    }
    ~SqliteStatement() { sqlite3_finalize(statement_); }
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    bool isRunning() const { return running_; }

    /// REQUIRES: with SQLITE_STATIC the texts live until the statement is released.
    void start(std::initializer_list<Value> values, sqlite3_destructor_type lifetime) {
        running_ = true;
        std::size_t number = 0;
        for (const Value& value : values) {
            check(database_,
                  std::visit(Binder{statement_, indexes_.at(number++), lifetime}, value));
        }
    }

    bool next() override {
        const int code = sqlite3_step(statement_);
        if (code != SQLITE_ROW && code != SQLITE_DONE) {
            throw failure(database_, code);
        }
        return code == SQLITE_ROW;
    }

    std::int64_t integer(int column) const override {
        return sqlite3_column_int64(statement_, column);
    }

    std::string_view bytes(int column) const override {
        const void* data = sqlite3_column_blob(statement_, column);
        return {static_cast<const char*>(data),
                static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
    }

    void release() noexcept override {
        sqlite3_reset(statement_);
        sqlite3_clear_bindings(statement_);
        running_ = false;
    }

private:
    sqlite3* database_;
    sqlite3_stmt* statement_ = nullptr;
    std::vector<int> indexes_;
    bool running_ = false;
};

void SqliteConnection::Close::operator()(sqlite3* database) const { sqlite3_close(database); }
void SqliteConnection::Close::operator()(sqlite3_blob* blob) const { sqlite3_blob_close(blob); }

SqliteConnection::SqliteConnection(SqliteLocation location) : location_(std::move(location)) {
    sqlite3* database = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE |
                      (location_.readOnlyFile.empty() ? 0 : SQLITE_OPEN_URI) |
                      (location_.turn ? SQLITE_OPEN_CREATE : 0);
    const int code = sqlite3_open_v2(location_.name.c_str(), &database, flags,
                                     location_.turn ? "memdb" : nullptr);
    database_.reset(database);
    check(database, code);
    if (sqlite3_db_readonly(database, "main") == 1) {
        throw failure(database, SQLITE_READONLY);
    }
    if (location_.turn) {
        sqlite3_int64 limit = std::numeric_limits<sqlite3_int64>::max();
        sqlite3_file_control(database, "main", SQLITE_FCNTL_SIZE_LIMIT, &limit);
    }
    check(database, sqlite3_create_function_v2(database, "octet_length", 1,
                                               SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                                               countOctets, nullptr, nullptr, nullptr));
    check(database, sqlite3_busy_handler(database, waitBriefly, &hadToWait_));
    if (!location_.turn) {
        checkpointOnClose(false);
        // Rolls back what a crash left half done, before the file is looked at.
        execute("pragma user_version");
        identity_.emplace(database, location_.name);
        identity_->check();
    }
    execute("pragma synchronous = full");
    execute("pragma cache_size = -8192");
    // Debian's SQLite overwrites deleted data with zeros by default.
    execute("pragma secure_delete = off");
    // The undo data of a batch's savepoints: writing it to files costs more than the commit.
    execute("pragma temp_store = memory");
    // The log shrinks again after a large transaction.
    execute("pragma journal_size_limit = 67108864");
    if (!location_.readOnlyFile.empty()) {
        readOnly_.emplace(database, location_.readOnlyFile);
    }
    const Rows mode = query("pragma journal_mode");
    if (mode->next() && mode->bytes(0) == "wal") {
        room_.emplace(*this, database);
    }
}

SqliteConnection::~SqliteConnection() {
    rollback();
    checkpointOnClose(identity_ && identity_->isIntact());
}

void SqliteConnection::checkpointOnClose(bool may) {
    sqlite3_db_config(database_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, may ? 0 : 1, nullptr);
}

SqliteStatement& SqliteConnection::idleStatement(std::string_view sql) {
    auto found = statements_.find(sql);
    if (found == statements_.end()) {
        found = statements_.try_emplace(std::string(sql)).first;
    }
    for (const auto& statement : found->second) {
        if (!statement->isRunning()) {
            return *statement;
        }
    }
    found->second.push_back(std::make_unique<SqliteStatement>(database_.get(), sql));
    return *found->second.back();
}

Rows SqliteConnection::query(std::string_view sql, std::initializer_list<Value> values) {
    SqliteStatement& statement = idleStatement(sql);
    Rows rows(&statement);
    statement.start(values, SQLITE_TRANSIENT);
    return rows;
}

std::int64_t SqliteConnection::execute(std::string_view sql, std::initializer_list<Value> values) {
    SqliteStatement& statement = idleStatement(sql);
    const Rows rows(&statement);
    statement.start(values, SQLITE_STATIC);
    while (rows->next()) {
    }
    return sqlite3_changes64(database_.get());
}

// RETURNING makes a temporary table for each row.
std::int64_t SqliteConnection::insert(std::string_view table, std::string_view columns,
                                      std::initializer_list<Value> values) {
    std::string sql = "insert into ";
    sql.append(table).append("(").append(columns).append(") values(");
    for (std::size_t number = 1; number <= values.size(); ++number) {
        sql.append(number == 1 ? "$" : ", $").append(std::to_string(number));
    }
    execute(sql += ')', values);
    return sqlite3_last_insert_rowid(database_.get());
}

std::int64_t SqliteConnection::highestId(std::string_view table) {
    // Only ids that are never used twice are counted beside the rows.
    const std::string name(table);
    return number("select max((select coalesce(max(id), 0) from " + name +
                      "), coalesce((select max(seq) from " + schema() +
                      ".sqlite_sequence where name = $1), 0))",
                  {name});
}

void SqliteConnection::raiseIds(std::string_view table, std::int64_t highest) {
    if (number("select count(*) from sqlite_schema where name = $1 and sql like '%autoincrement%'",
               {table}) != 0) {
        execute("delete from sqlite_sequence where name = $1", {table});
        execute("insert into sqlite_sequence(name, seq) values($1, $2)", {table, highest});
    }
}

void SqliteConnection::readChunk(std::int64_t chunk, std::size_t offset, char* into,
                                 std::size_t size) {
    // A change of its row or a rollback makes an open blob useless.
    int code = blob_ ? sqlite3_blob_reopen(blob_.get(), chunk) : SQLITE_ABORT;
    if (code == SQLITE_ABORT || code == SQLITE_ABORT_ROLLBACK) {
        sqlite3_blob* blob = nullptr;
        code = sqlite3_blob_open(database_.get(), schema(), "chunks", "data", chunk, 0, &blob);
        blob_.reset(blob);
    }
    if (code == SQLITE_OK) {
        code =
            sqlite3_blob_read(blob_.get(), into, static_cast<int>(size), static_cast<int>(offset));
    }
    if (code != SQLITE_OK) {
        blob_.reset();
        // SQLITE_ERROR means a missing row or a range beyond its end: lost data.
        throw failure(database_.get(), code == SQLITE_ERROR ? SQLITE_CORRUPT : code);
    }
}

void SqliteConnection::copyInto(const std::string& path) {
    copyDatabase(database_.get(), schema(), path);
}

void SqliteConnection::checkIntegrity(const std::function<void(std::string)>& tell) {
    const Rows found = query("pragma integrity_check");
    while (found->next()) {
        if (std::string sentence = found->text(0); sentence != "ok") {
            tell(std::move(sentence));
        }
    }
}

void SqliteConnection::begin(Access access) {
    hadToWait_ = false;
    buckets_.begin(false);
    writing_ = access == Access::WRITE;
    if (location_.turn) {
        turn_ = std::unique_lock(*location_.turn);
    }
    try {
        if (readOnly_) {
            readOnly_->attach();
        }
        execute(writing_ ? "begin immediate" : "begin");
        if (identity_ && writing_) {
            identity_->check();
        } else if (identity_) {
            identity_->checkSometimes();
        }
        if (room_ && writing_) {
            room_->begin();
        }
        if (!writing_ || readOnly_) {
            // The first read takes the snapshot.
            execute("select n from schema_version");
        }
        if (readOnly_) {
            // The memory has a version of its own, which only a read brings up to date.
            execute("select 1 from main.sqlite_schema limit 1");
        }
        filledMemory_ = readOnly_ && readOnly_->fillMemory();
        changesBefore_ = changes();
    } catch (...) {
        rollback();
        throw;
    }
}

void SqliteConnection::commit() {
    buckets_.write();
    blob_.reset();
    if (identity_ && changes() != changesBefore_) {
        identity_->stampLog();
    }
    if (room_ && writing_) {
        room_->beforeCommit();
    }
    const unsigned before = fileVersion();
    // A snapshot has nothing to commit, and SQLite commits nothing once it has met damage.
    execute(writing_ || filledMemory_ ? "commit" : "rollback");
    ownCommits_ += fileVersion() - before;
    endTurn();
    if (readOnly_) {
        readOnly_->requireUnchanged();
    }
    if (identity_ && writing_) {
        // What went into a file that nobody finds again is not acknowledged.
        identity_->check();
    }
    if (room_ && writing_ && room_->lostSpare()) {
        keepSpareRoom();
    }
}

void SqliteConnection::rollback() noexcept {
    blob_.reset();
    buckets_.begin(false);
    rollbacks_ += writing_ ? 1 : 0;
    if (readOnly_) {
        readOnly_->forgetFill();
    }
    if (inTransaction()) {
        sqlite3_exec(database_.get(), "rollback", nullptr, nullptr, nullptr);
    }
    endTurn();
}

bool SqliteConnection::inTransaction() const {
    return sqlite3_get_autocommit(database_.get()) == 0;
}

std::int64_t SqliteConnection::changes() const {
    return sqlite3_total_changes64(database_.get()) + buckets_.counted();
}

void SqliteConnection::rollbackToSavepoint() {
    ++rollbacks_;
    Connection::rollbackToSavepoint();
}

DataVersion SqliteConnection::version() const {
    const unsigned ofFile = readOnly_ ? fileVersion(ReadOnlyFile::schema) : 0;
    return {fileVersion() - ownCommits_ + ofFile, changes(), rollbacks_};
}

unsigned SqliteConnection::fileVersion(const char* schema) const {
    unsigned version = 0;
    check(database_.get(),
          sqlite3_file_control(database_.get(), schema, SQLITE_FCNTL_DATA_VERSION, &version));
    return version;
}

void SqliteConnection::needRoom(std::size_t bytes) {
    if (room_) {
        room_->need(bytes);
    }
}

bool SqliteConnection::giveRoomBack(std::size_t bytes, std::size_t kept) {
    const std::int64_t pageSize = number("pragma page_size");
    if (!room_ || number("pragma auto_vacuum") == 0 ||
        std::cmp_less_equal(number("pragma freelist_count") * pageSize, kept)) {
        return false;
    }
    execute("pragma incremental_vacuum(" +
            std::to_string(static_cast<std::int64_t>(bytes) / pageSize) + ')');
    room_->shrinks();
    return true;
}

void SqliteConnection::shortenLog(std::size_t bytes) {
    // A checkpoint would write the log into whatever the file is by now.
    if (room_ && (!identity_ || identity_->isIntact()) && room_->shortenLog(bytes)) {
        keepSpareRoom();
    }
}

void SqliteConnection::keepSpareRoom() noexcept {
    try {
        begin(Access::WRITE);
        room_->keepSpare();
    } catch (const StoreError&) {
        // Another program writes, and keeps some.
    }
    rollback();
}

std::vector<RoomNeed> SqliteConnection::rebuildNeeds() {
    return room_ ? needsOfRebuild(*this, database_.get()) : std::vector<RoomNeed>();
}

void SqliteConnection::rebuild() {
    if (identity_) {
        identity_->check();
    }
    rebuildFile(*this);
    if (room_) {
        room_->shrinks();
    }
    shortenLog(0);
}

void SqliteConnection::endTurn() noexcept {
    if (turn_.owns_lock()) {
        turn_.unlock();
    }
}

}  // namespace storage::kvxstore::database
