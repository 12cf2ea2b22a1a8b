#pragma once

#include <any>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "storage/kvxstore/StoreError.h"

namespace storage::kvxstore::database {

/// What went wrong, as far as a caller can act on it.
enum class Fault { BUSY, UNIQUE, CONSTRAINT, LOST, FULL, DAMAGED, NOT_WRITABLE, OTHER };

/// A failed statement; what() is a plain sentence for people.
class DatabaseError : public std::runtime_error {
public:
    DatabaseError(Fault fault, const std::string& cause)
        : std::runtime_error(cause), fault_(fault) {}
    Fault fault() const { return fault_; }
    /// What an administrator is told of it.
    StoreErrorCode storeErrorCode() const;

private:
    Fault fault_;
};

/// Bytes to bind; they stay the caller's and must live until the statement has been stepped.
struct Blob {
    std::string_view bytes;
};

using Value = std::variant<std::int64_t, std::string_view, Blob>;

/// A running statement.
class Statement {
public:
    virtual bool next() = 0;
    virtual std::int64_t integer(int column) const = 0;
    /// Text or blob; valid until the next call of next().
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

enum class Access { READ, WRITE };

/// Tells two states of a database apart, as seen on one connection.
struct DataVersion {
    std::int64_t byOthers = 0;
    std::int64_t own = 0;

    bool operator==(const DataVersion&) const = default;
};

/// One connection, used by one thread at a time. Statements take parameters as $1, $2, ...
class Connection {
public:
    virtual ~Connection() = default;

    /// Starts a statement, prepared once per connection and text; its first row is had by next().
    virtual Rows query(std::string_view sql, std::initializer_list<Value> values = {}) = 0;

    /// Runs a statement to its end and returns how many rows it changed.
    virtual std::int64_t execute(std::string_view sql,
                                 std::initializer_list<Value> values = {}) = 0;

    /// Inserts a row into a table with an id and returns the id.
    virtual std::int64_t insert(std::string_view sql, std::initializer_list<Value> values = {}) = 0;

    /// Copies a range of a chunk, which must have that many bytes.
    virtual void readChunk(std::int64_t chunk, std::size_t offset, char* into,
                           std::size_t size) = 0;

    virtual void begin(Access access) = 0;
    virtual void commit() = 0;
    virtual void rollback() noexcept = 0;
    /// False also when the database itself undid the transaction after a failure.
    virtual bool inTransaction() const = 0;
    /// Undoes what was done since the savepoint was set, and lets go of it.
    virtual void rollbackTo(std::string_view savepoint) = 0;
    /// How many rows were changed on this connection so far, undone or not.
    virtual std::int64_t changes() const = 0;
    /// Another one after each change, undone or not, here or by another connection; in a
    /// transaction.
    virtual DataVersion version() const = 0;
    /// Whether the latest begin() found another program in its way.
    virtual bool hadToWait() const = 0;

    /// The one integer of the one row of a query that always has one.
    std::int64_t number(std::string_view sql, std::initializer_list<Value> values = {});

    /// All rows of a query for two integers.
    std::vector<std::pair<std::int64_t, std::int64_t>> pairs(
        std::string_view sql, std::initializer_list<Value> values = {});

    /// What its users keep with it between transactions.
    std::any& attachment() { return attachment_; }

private:
    std::any attachment_;
};

/// Makes one more connection to an opened database; the database lives as long as one of them.
using Connector = std::function<std::unique_ptr<Connection>()>;

/// Runs the action, again and again for up to ten seconds while another program is in its way.
void retryWhileBusy(const std::function<void()>& action);

/// Undone unless committed. The constructor retries while busy.
class Transaction {
public:
    Transaction(Connection& connection, Access access);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Connection& connection_;
    bool open_ = true;
};

}  // namespace storage::kvxstore::database
