#include "database/Connection.h"

#include <thread>

namespace storage::kvxstore::database {

void throwDamaged(const std::string& damage) {
    throw DatabaseError(StoreErrorCode::DAMAGED, "the store is damaged: " + damage);
}

void retryWhileBusy(std::chrono::milliseconds patience, const std::function<void()>& action) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        try {
            return action();
        } catch (const DatabaseError& error) {
            if (error.code() != StoreErrorCode::IN_USE ||
                std::chrono::steady_clock::now() > deadline) {
                throw;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

std::int64_t Connection::number(std::string_view sql, std::initializer_list<Value> values) {
    const Rows row = query(sql, values);
    if (!row->next()) {
        throwDamaged("a row is missing");
    }
    return row->integer(0);
}

void Connection::requireWritable() const {
    if (isReadOnly()) {
        throw DatabaseError(StoreErrorCode::NOT_WRITABLE, notWritable);
    }
}

void Connection::setSavepoint() {
    execute("savepoint job");
    buckets_.save();
}

void Connection::releaseSavepoint() { execute("release savepoint job"); }

void Connection::rollbackToSavepoint() {
    execute("rollback to savepoint job");
    releaseSavepoint();
    buckets_.restore();
}

Transaction::Transaction(Connection& connection, Access access, std::chrono::milliseconds patience)
    : connection_(connection) {
    retryWhileBusy(patience, [&] { connection_.begin(access); });
}

Transaction::~Transaction() {
    if (open_) {
        connection_.rollback();
    }
}

void Transaction::commit() {
    connection_.commit();
    open_ = false;
}

}  // namespace storage::kvxstore::database
