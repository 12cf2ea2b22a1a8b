#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "database/Connection.h"
#include "database/postgresql/PostgresRows.h"

struct pg_conn;

namespace storage::kvxstore::database {

/// A connection to a server. Queues statements and sends them with the next one whose answer is
/// needed, so that most of them cost no round trip. Statements run without a transaction are one by
/// themselves.
///
/// A lost connection fails the transaction with a TransientError, and the next begin() makes it
/// anew. Where it is lost during a commit, a row of its own in the table of lanes tells whether the
/// commit took effect.
class PostgresConnection final : public Connection {
public:
    /// Throws a DatabaseError when the server cannot be reached.
    PostgresConnection(std::string url, std::chrono::milliseconds lockPatience,
                       std::shared_ptr<Traffic> traffic);
    ~PostgresConnection() override;

    Rows query(std::string_view sql, std::initializer_list<Value> values = {}) override;
    Rows scan(std::string_view sql) override;
    std::int64_t execute(std::string_view sql, std::initializer_list<Value> values = {}) override;
    void post(std::string_view sql, std::initializer_list<Value> values) override;
    void prime(std::string_view sql, std::initializer_list<Value> values) override;
    void holdPrimed(std::string_view sql, std::initializer_list<Value> values) override;
    void releasePrimed() override;
    Rows lock(RowLock how, std::string_view sql, std::initializer_list<Value> values) override;
    std::int64_t insert(std::string_view table, std::string_view columns,
                        std::initializer_list<Value> values) override;
    std::int64_t idAfter(std::string_view table, std::int64_t newest) override;
    std::int64_t highestId(std::string_view table) override;
    void raiseIds(std::string_view table, std::int64_t highest) override;
    void primeChunk(std::int64_t chunk, std::size_t offset, std::size_t size) override;
    void readChunk(std::int64_t chunk, std::size_t offset, char* into, std::size_t size) override;
    void copyInto(const std::string& path) override;
    void checkIntegrity(const std::function<void(std::string)>& /*tell*/) override {}
    void analyze(std::string_view table) override { execute("analyze " + std::string(table)); }
    Traffic* traffic() const override { return traffic_.get(); }
    bool sharesWriting() const override { return true; }
    void lockNext(std::vector<std::int64_t> buckets) override { lockNext_ = std::move(buckets); }
    std::optional<std::int64_t> serverTime() const override { return serverTime_; }
    void begin(Access access) override;
    void commit() override;
    void rollback() noexcept override;
    bool inTransaction() const override { return open_ && !lost_; }
    bool hasFailed() const override;
    void rollbackToSavepoint() override;
    std::int64_t changes() const override { return statements_ + buckets_.counted(); }
    DataVersion version() const override { return {transactions_, changes(), rollbacks_}; }
    bool isReadOnly() const override { return false; }
    bool hadToWait() const override { return false; }
    std::chrono::milliseconds lockPatience() const override { return lockPatience_; }

private:
    struct Close {
        void operator()(pg_conn* connection) const;
    };
    using Values = std::span<const Value>;

    /// A command whose answer has not been read.
    struct Pending {
        enum class Kind { PREPARE, POST, PRIME, QUERY, SYNC } kind;
        /// The statement's key for PREPARE, the question's for PRIME.
        std::string key;
    };

    struct Ids {
        std::int64_t next = 0;
        std::int64_t end = 0;
    };

    void connect();
    void beReadyToSend();
    void send(Pending::Kind kind, std::string_view sql, Values values);
    const std::string& prepare(std::string_view sql, Values values);
    void queueSync();
    /// Sends what is queued and reads all answers; returns that of the last query.
    PostgresResult sync();
    PostgresResult readAnswers();
    PostgresResult ask(std::string_view sql, Values values);
    /// Asks what is not prepared, since its answer has other columns another time.
    PostgresResult askOnce(const std::string& sql);
    bool isAsked(const std::string& question) const;
    void noteWrite();
    void forgetPrimed();
    [[noreturn]] void throwLost(const std::string& message);
    [[noreturn]] void throwFailure(const PostgresResult& result);
    /// Whether the connection was lost while it was idle.
    bool hasEnded();
    void beginWriting();
    /// Finds out whether a commit took effect whose answer was lost.
    bool hasCommitted();
    std::int64_t nextId(std::string_view table);

    const std::string url_;
    const std::chrono::milliseconds lockPatience_;
    const std::shared_ptr<Traffic> traffic_;
    std::unique_ptr<pg_conn, Close> connection_;
    std::unordered_map<std::string, std::string> prepared_;
    std::deque<Pending> pending_;
    std::unordered_map<std::string, PostgresResult> primed_;
    std::unordered_map<std::string, PostgresResult> heldPrimed_;
    std::map<std::string, Ids, std::less<>> ids_;
    std::vector<std::int64_t> lockNext_;
    std::optional<std::int64_t> serverTime_;
    bool lost_ = false;
    bool open_ = false;
    bool writing_ = false;
    const std::int64_t lane_;
    std::int64_t batch_ = 0;
    std::int64_t statements_ = 0;
    std::int64_t transactions_ = 0;
    std::int64_t rollbacks_ = 0;
    std::int64_t named_ = 0;
    std::int64_t scans_ = 0;
};

}  // namespace storage::kvxstore::database
