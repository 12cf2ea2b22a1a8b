#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "database/Connection.h"
#include "database/sqlite/DiskRoom.h"
#include "database/sqlite/FileIdentity.h"
#include "database/sqlite/ReadOnlyFile.h"

struct sqlite3;
struct sqlite3_blob;

namespace storage::kvxstore::database {

class SqliteStatement;

/// The code for an error of the system's file calls.
StoreErrorCode codeOfSystemError(int number);

/// Throws the DatabaseError for what a call of SQLite returned, unless it succeeded.
void requireSuccess(sqlite3* database, int code);

/// A file, or memory that all connections with the same name share.
struct SqliteLocation {
    std::string name;
    /// Set for a database in memory. It has no snapshots, so its transactions take turns.
    std::shared_ptr<std::mutex> turn;
    std::chrono::milliseconds lockPatience{};
    /// The path of a file that is only read, with the memory for what changes; else empty.
    std::string readOnlyFile;
};

class SqliteConnection final : public Connection {
public:
    explicit SqliteConnection(SqliteLocation location);
    ~SqliteConnection() override;

    Rows query(std::string_view sql, std::initializer_list<Value> values = {}) override;
    std::int64_t execute(std::string_view sql, std::initializer_list<Value> values = {}) override;
    std::int64_t insert(std::string_view table, std::string_view columns,
                        std::initializer_list<Value> values) override;
    std::int64_t highestId(std::string_view table) override;
    void raiseIds(std::string_view table, std::int64_t highest) override;
    void readChunk(std::int64_t chunk, std::size_t offset, char* into, std::size_t size) override;
    void copyInto(const std::string& path) override;
    void checkIntegrity(const std::function<void(std::string)>& tell) override;
    void begin(Access access) override;
    void commit() override;
    void rollback() noexcept override;
    bool inTransaction() const override;
    void rollbackToSavepoint() override;
    std::int64_t changes() const override;
    DataVersion version() const override;
    bool isReadOnly() const override { return readOnly_.has_value(); }
    bool hadToWait() const override { return hadToWait_; }
    std::chrono::milliseconds lockPatience() const override { return location_.lockPatience; }
    void needRoom(std::size_t bytes) override;
    bool giveRoomBack(std::size_t bytes, std::size_t kept) override;
    void shortenLog(std::size_t bytes) override;
    std::vector<RoomNeed> rebuildNeeds() override;
    void rebuild() override;

private:
    struct Close {
        void operator()(sqlite3* database) const;
        void operator()(sqlite3_blob* blob) const;
    };
    struct TextHash : std::hash<std::string_view> {
        using is_transparent = void;
    };
    using StatementCache =
        std::unordered_map<std::string, std::vector<std::unique_ptr<SqliteStatement>>, TextHash,
                           std::equal_to<>>;

    SqliteStatement& idleStatement(std::string_view sql);
    unsigned fileVersion(const char* schema = "main") const;
    /// The name of the database with the store's contents.
    const char* schema() const { return readOnly_ ? ReadOnlyFile::schema : "main"; }
    void endTurn() noexcept;
    /// The last connection would write the log into whatever the file is by then.
    void checkpointOnClose(bool may);
    void keepSpareRoom() noexcept;

    SqliteLocation location_;
    bool hadToWait_ = false;
    bool writing_ = false;
    /// How far commits of this connection raised the file's version number.
    unsigned ownCommits_ = 0;
    std::int64_t rollbacks_ = 0;
    std::int64_t changesBefore_ = 0;
    std::unique_lock<std::mutex> turn_;
    std::unique_ptr<sqlite3, Close> database_;
    /// Nothing for a database in memory.
    std::optional<FileIdentity> identity_;
    std::optional<ReadOnlyFile> readOnly_;
    bool filledMemory_ = false;
    StatementCache statements_;
    /// Nothing where there is no log.
    std::optional<DiskRoom> room_;
    /// Stays open for the next chunk: moving it is cheaper than opening another.
    std::unique_ptr<sqlite3_blob, Close> blob_;
};

}  // namespace storage::kvxstore::database
