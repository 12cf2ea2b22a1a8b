#pragma once

#include <any>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "database/Buckets.h"
#include "storage/kvxstore/Administration.h"
#include "storage/kvxstore/StoreError.h"

namespace storage::kvxstore::database {

/// A failure of the database. Its code is IN_USE while another program holds a lock.
class DatabaseError : public StoreError {
public:
    using StoreError::StoreError;
};

/// What is said where a store that is only read has to be written.
constexpr const char* notWritable =
    "the store is read-only: its file, its folder or the file system may not be written";

/// Throws a DatabaseError with DAMAGED; `damage` says what does not fit together.
[[noreturn]] void throwDamaged(const std::string& damage);

/// Does the work and returns the damage that ended it, if any. Other errors go on.
template <class Work>
std::optional<std::string> damageIn(Work work) {
    try {
        work();
        return std::nullopt;
    } catch (const DatabaseError& error) {
        if (error.code() != StoreErrorCode::DAMAGED) {
            throw;
        }
        return error.what();
    }
}

/// A failure that undid the transaction for reasons of others, so that it may run again.
class TransientError : public DatabaseError {
public:
    explicit TransientError(const std::string& message)
        : DatabaseError(StoreErrorCode::IN_USE, message) {}
};

/// Thrown when a transaction has to lock more buckets before it reads. It is undone, and runs again
/// after lockNext() with these as well.
struct LocksNeeded {
    std::vector<std::int64_t> buckets;
};

/// Bytes to bind. The caller owns them and keeps them until the statement has been stepped.
struct Blob {
    std::string_view bytes;
};

/// A text of any bytes, NUL too, that is compared but never ordered. Kept as a Blob is.
struct FreeText {
    std::string_view bytes;
};

using Value = std::variant<std::int64_t, std::string_view, Blob, FreeText>;

/// A running statement. Call next() before reading the first row.
class Statement {
public:
    /// Moves to the next row; false when there is none.
    virtual bool next() = 0;
    virtual std::int64_t integer(int column) const = 0;
    /// A text or blob, valid until the next call of next().
    virtual std::string_view bytes(int column) const = 0;
    std::string text(int column) const { return std::string(bytes(column)); }

    /// Ends the run; the connection may use the statement again.
    virtual void release() noexcept = 0;

protected:
    ~Statement() = default;
};

struct StatementReleaser {
    void operator()(Statement* statement) const noexcept { statement->release(); }
};
using Rows = std::unique_ptr<Statement, StatementReleaser>;

/// Runs the statement to its end and returns what `make` makes of each row.
template <class Make>
auto collect(const Rows& rows, Make make) {
    std::vector<std::invoke_result_t<Make, const Statement&>> all;
    while (rows->next()) {
        all.push_back(make(*rows));
    }
    return all;
}

enum class Access { READ, WRITE };

/// How a row is held up to the end of the transaction, where many write at a time.
enum class RowLock {
    KEEP,     ///< Nobody deletes it or changes its key.
    SHARE,    ///< Nobody changes it.
    CHANGE,   ///< Nobody else locks it.
    IF_FREE,  ///< As CHANGE, but a row that somebody else holds is left out.
};

/// Identifies a state of the database, as one connection sees it.
struct DataVersion {
    std::int64_t byOthers = 0;
    std::int64_t own = 0;
    /// How often something was undone.
    std::int64_t undone = 0;

    bool operator==(const DataVersion&) const = default;
};

/// What all connections of an opening did on a database server.
struct Traffic {
    std::atomic<unsigned long> roundTrips = 0;
    std::atomic<unsigned long> repeats = 0;
    std::atomic<unsigned long> settled = 0;
};

/// One connection. Statements take parameters as $1, $2, ...
/// REQUIRES: one thread at a time uses the connection and its statements.
class Connection {
public:
    virtual ~Connection() = default;

    /// Starts a statement, which the connection prepares once per text.
    virtual Rows query(std::string_view sql, std::initializer_list<Value> values = {}) = 0;

    /// As query(), for an answer of any length, of which a part is held at a time.
    /// REQUIRES: a transaction.
    virtual Rows scan(std::string_view sql) { return query(sql); }

    /// Runs a statement to its end and returns how many rows it changed.
    virtual std::int64_t execute(std::string_view sql,
                                 std::initializer_list<Value> values = {}) = 0;

    /// As execute(), but nobody needs the count, and a later call may tell of its failure.
    virtual void post(std::string_view sql, std::initializer_list<Value> values) {
        execute(sql, values);
    }

    /// Asks ahead: a query() with the same text and values in this transaction may take the answer.
    /// Any write makes the answer void, unless holdPrimed() keeps it.
    virtual void prime(std::string_view /*sql*/, std::initializer_list<Value> /*values*/) {}

    /// Keeps what was asked ahead, but for this one, in spite of the writes until releasePrimed().
    virtual void holdPrimed(std::string_view /*sql*/, std::initializer_list<Value> /*values*/) {}
    virtual void releasePrimed() {}

    /// As query(), and locks the rows.
    /// REQUIRES: a transaction for writing, and a selection from one table.
    virtual Rows lock(RowLock /*how*/, std::string_view sql, std::initializer_list<Value> values) {
        return query(sql, values);
    }

    /// Inserts a row into a table with an id and returns the id. `columns` is a list with commas.
    virtual std::int64_t insert(std::string_view table, std::string_view columns,
                                std::initializer_list<Value> values) = 0;

    /// An id for another row that is inserted with its id.
    /// REQUIRES: the row with the id `newest` is the last that was inserted into the table.
    virtual std::int64_t idAfter(std::string_view /*table*/, std::int64_t newest) {
        return newest + 1;
    }

    /// No row that was ever in the table has an id above this.
    /// REQUIRES: a table with an id.
    virtual std::int64_t highestId(std::string_view table) = 0;
    /// Makes the ids of rows to come lie above this one.
    virtual void raiseIds(std::string_view table, std::int64_t highest) = 0;

    /// Asks ahead for a readChunk() of the same range.
    virtual void primeChunk(std::int64_t /*chunk*/, std::size_t /*offset*/, std::size_t /*size*/) {}
    /// Copies a range of a chunk.
    /// REQUIRES: the chunk has that many bytes; a shorter one throws DAMAGED.
    virtual void readChunk(std::int64_t chunk, std::size_t offset, char* into,
                           std::size_t size) = 0;

    /// Whether only what is kept in memory can change: sessions, handles and download locations.
    virtual bool isReadOnly() const = 0;
    /// Throws a DatabaseError with NOT_WRITABLE if isReadOnly().
    void requireWritable() const;

    /// Copies the database, as the transaction sees it, into an empty file.
    /// REQUIRES: a transaction.
    virtual void copyInto(const std::string& path) = 0;
    /// Passes on a sentence for each damage that the database finds in its own files.
    virtual void checkIntegrity(const std::function<void(std::string)>& tell) = 0;

    /// The rows of the buckets, as this transaction has them.
    Buckets& buckets() { return buckets_; }
    /// Whether others write at the same time, so that a transaction for writing has to lock the
    /// buckets that it works in before it reads.
    virtual bool sharesWriting() const { return false; }
    /// Makes the next begin() for writing lock these buckets.
    virtual void lockNext(std::vector<std::int64_t> /*buckets*/) {}
    /// The database's clock at begin(), in nanoseconds since the epoch; nothing where all programs
    /// have the clock of one machine.
    virtual std::optional<std::int64_t> serverTime() const { return std::nullopt; }

    virtual void begin(Access access) = 0;
    virtual void commit() = 0;
    virtual void rollback() noexcept = 0;
    /// False also after a failure that made the database roll back by itself.
    virtual bool inTransaction() const = 0;
    /// Whether a statement failed, so that nothing but a rollback is possible.
    virtual bool hasFailed() const { return false; }
    void setSavepoint();
    void releaseSavepoint();
    /// Undoes the changes since the savepoint, and releases it.
    virtual void rollbackToSavepoint();
    /// The number of rows that this connection has changed so far, rolled back or not.
    virtual std::int64_t changes() const = 0;
    /// Differs after every change by any connection, rolled back or not. Where writing is shared it
    /// differs from transaction to transaction.
    /// REQUIRES: a transaction.
    virtual DataVersion version() const = 0;
    /// Whether the latest begin() waited for a lock of another program.
    virtual bool hadToWait() const = 0;
    /// How long a transaction waits for a lock of another program.
    virtual std::chrono::milliseconds lockPatience() const = 0;

    /// Lets the database look at a table that was filled, where it needs that to plan its queries.
    virtual void analyze(std::string_view /*table*/) {}

    /// What is counted of a database server; null for a file.
    virtual Traffic* traffic() const { return nullptr; }
    void countRepeat() {
        if (Traffic* const counts = traffic()) {
            ++counts->repeats;
        }
    }

    // What the database does for the disk under it, where it is in charge of that.

    /// Makes sure that this transaction can add so many bytes and leave room for deleting. Throws a
    /// DatabaseError with FULL when it cannot.
    virtual void needRoom(std::size_t /*bytes*/) {}
    /// Gives up to so many unused bytes back to the disk, but keeps some unused ones. Returns
    /// whether there were any to give.
    /// REQUIRES: a transaction for writing.
    virtual bool giveRoomBack(std::size_t /*bytes*/, std::size_t /*kept*/) { return false; }
    /// Cuts a log that has more than so many bytes, and completes what giveRoomBack() began. Does
    /// nothing while other connections prevent it.
    /// REQUIRES: no transaction.
    virtual void shortenLog(std::size_t /*bytes*/) {}
    /// The room that rebuild() needs; empty when there is nothing to rebuild.
    virtual std::vector<RoomNeed> rebuildNeeds() { return {}; }
    /// Makes the database one that can give room back.
    /// REQUIRES: no transaction.
    virtual void rebuild() {}

    /// The integer in the first row of a query. A query without a row throws DAMAGED.
    std::int64_t number(std::string_view sql, std::initializer_list<Value> values = {});

    /// State that the users of the connection keep between transactions.
    std::any& attachment() { return attachment_; }

protected:
    Buckets buckets_{*this};

private:
    std::any attachment_;
};

/// What a database is opened for.
enum class Purpose {
    USE,     ///< Everything.
    SOURCE,  ///< To copy all of it elsewhere. Nothing is written, not even by opening.
    TARGET,  ///< To copy all of another store into it. Nothing else opens it until that has ended.
};

/// How many threads serve a store, each with a connection.
struct Threads {
    unsigned readers = 1;
    unsigned writers = 1;
};

/// Makes another connection to an opened database. The database stays open as long as one of its
/// connections.
using Connector = std::function<std::unique_ptr<Connection>()>;

/// Runs the action, and runs it again for so long while it fails with IN_USE.
void retryWhileBusy(std::chrono::milliseconds patience, const std::function<void()>& action);

/// Rolls back unless committed. The constructor retries while another program holds the lock, for
/// the connection's patience unless another is given.
class Transaction {
public:
    Transaction(Connection& connection, Access access)
        : Transaction(connection, access, connection.lockPatience()) {}
    Transaction(Connection& connection, Access access, std::chrono::milliseconds patience);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Connection& connection_;
    bool open_ = true;
};

}  // namespace storage::kvxstore::database
