#include "database/postgresql/PostgresConnection.h"

#include <endian.h>
#include <libpq-fe.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <thread>
#include <utility>

#include "database/postgresql/PostgresFault.h"

namespace storage::kvxstore::database {

namespace {

using namespace std::chrono_literals;

constexpr std::int64_t idsAtOnce = 256;
// Of the server's types int8, text and bytea.
constexpr Oid integerType = 20;
constexpr Oid textType = 25;
constexpr Oid bytesType = 17;

std::int64_t randomNumber() {
    std::random_device random;
    const std::uint64_t high = random();
    return static_cast<std::int64_t>((high << 32U | random()) >> 2U);
}

/// The values of a statement as the server takes them.
class Parameters {
public:
    explicit Parameters(std::span<const Value> values)
        : numbers_(values.size()), texts_(values.size()) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            std::visit([&](const auto& value) { set(i, value); }, values[i]);
            pointers_.push_back(texts_[i].empty() ? "" : texts_[i].data());
            lengths_.push_back(static_cast<int>(texts_[i].size()));
            formats_.push_back(1);
        }
    }

    int count() const { return static_cast<int>(types_.size()); }
    const Oid* types() const { return types_.data(); }
    const char* const* pointers() const { return pointers_.data(); }
    const int* lengths() const { return lengths_.data(); }
    const int* formats() const { return formats_.data(); }

    /// Tells the questions with the same text apart.
    void appendTo(std::string& key) const {
        for (const std::string_view text : texts_) {
            key.append(1, '\0').append(std::to_string(text.size())).append(1, ':').append(text);
        }
    }

private:
    void set(std::size_t i, std::int64_t value) {
        numbers_[i] = htobe64(static_cast<std::uint64_t>(value));
        texts_[i] = {reinterpret_cast<const char*>(&numbers_[i]), sizeof(numbers_[i])};
        types_.push_back(integerType);
    }
    void set(std::size_t i, std::string_view value) {
        texts_[i] = value;
        types_.push_back(textType);
    }
    void set(std::size_t i, Blob value) {
        texts_[i] = value.bytes;
        types_.push_back(bytesType);
    }
    void set(std::size_t i, FreeText value) { set(i, Blob{value.bytes}); }

    std::vector<std::uint64_t> numbers_;
    std::vector<std::string_view> texts_;
    std::vector<Oid> types_;
    std::vector<const char*> pointers_;
    std::vector<int> lengths_;
    std::vector<int> formats_;
};

std::string keyOf(std::string_view sql, std::span<const Value> values) {
    std::string key(sql);
    for (const Value& value : values) {
        key += "itbb"[value.index()];
    }
    return key;
}

std::string suffixOf(RowLock how) {
    switch (how) {
        case RowLock::KEEP:
            return " for key share";
        case RowLock::SHARE:
            return " for share";
        case RowLock::CHANGE:
            return " for update";
        case RowLock::IF_FREE:
            return " for update skip locked";
    }
    return {};
}

const std::string lockBuckets = std::string(Buckets::select) +
                                "id = any(cast(cast($1 as text) as bigint[])) order by id"
                                " for no key update";
// Who writes to one of several buckets of an owner with a quota counts the bytes in all of them.
const std::string lockOwners =
    "select u.id from users u where u.quota < 9223372036854775807"
    " and u.id in (select owner from buckets where id = any(cast(cast($1 as text) as bigint[])))"
    " and (select count(*) from buckets where owner = u.id) > 1 order by u.id for no key update";

constexpr std::string_view selectFromChunk =
    "select substring(data from cast($2 as int) for cast($3 as int)) from chunks where id = $1";

std::string arrayOf(const std::vector<std::int64_t>& numbers) {
    std::string text = "{";
    for (const std::int64_t number : numbers) {
        text.append(text.size() > 1 ? "," : "").append(std::to_string(number));
    }
    return text + '}';
}

/// What an answer that was asked ahead is known by.
std::string questionOf(std::string_view sql, std::span<const Value> values) {
    std::string question(sql);
    Parameters(values).appendTo(question);
    return question;
}

}  // namespace

void PostgresConnection::Close::operator()(pg_conn* connection) const { PQfinish(connection); }

PostgresConnection::PostgresConnection(std::string url, std::chrono::milliseconds lockPatience,
                                       std::shared_ptr<Traffic> traffic)
    : url_(std::move(url)),
      lockPatience_(lockPatience),
      traffic_(std::move(traffic)),
      lane_(randomNumber()) {
    connect();
}

PostgresConnection::~PostgresConnection() { rollback(); }

void PostgresConnection::connect() {
    // Later ones hold before earlier ones, and "dbname" stands for all of the URL.
    constexpr std::array keywords{"connect_timeout", "fallback_application_name", "dbname",
                                  "client_encoding", static_cast<const char*>(nullptr)};
    const std::array values{"10", "kvxstore", url_.c_str(), "UTF8",
                            static_cast<const char*>(nullptr)};
    connection_.reset(PQconnectdbParams(keywords.data(), values.data(), 1));
    prepared_.clear();
    pending_.clear();
    forgetPrimed();
    open_ = false;
    lost_ = PQstatus(connection_.get()) != CONNECTION_OK;
    if (lost_) {
        throw TransientError(std::string("the database server cannot be reached: ") +
                             oneLine(PQerrorMessage(connection_.get())));
    }
    PQsetNoticeProcessor(
        connection_.get(), [](void*, const char*) {}, nullptr);
    PQenterPipelineMode(connection_.get());
}

void PostgresConnection::throwLost(const std::string& message) {
    lost_ = true;
    pending_.clear();
    forgetPrimed();
    throw TransientError("the connection to the database server was lost: " + oneLine(message));
}

void PostgresConnection::throwFailure(const PostgresResult& result) {
    const PostgresFault fault(*result);
    if (fault.isLost()) {
        throwLost(fault.message());
    }
    fault.raise();
}

const std::string& PostgresConnection::prepare(std::string_view sql, Values values) {
    std::string key = keyOf(sql, values);
    const auto known = prepared_.find(key);
    if (known != prepared_.end()) {
        return known->second;
    }
    const std::string name = 's' + std::to_string(++named_);
    const Parameters parameters(values);
    if (PQsendPrepare(connection_.get(), name.c_str(), std::string(sql).c_str(), parameters.count(),
                      parameters.types()) != 1) {
        throwLost(PQerrorMessage(connection_.get()));
    }
    pending_.push_back({Pending::Kind::PREPARE, key});
    return prepared_[std::move(key)] = name;
}

void PostgresConnection::beReadyToSend() {
    if (lost_ && open_) {
        throwLost("it is not connected");
    }
    if (lost_) {
        connect();
    }
    if (!pending_.empty() && pending_.back().kind == Pending::Kind::SYNC) {
        readAnswers();
    }
}

void PostgresConnection::send(Pending::Kind kind, std::string_view sql, Values values) {
    beReadyToSend();
    const std::string& name = prepare(sql, values);
    const Parameters parameters(values);
    if (PQsendQueryPrepared(connection_.get(), name.c_str(), parameters.count(),
                            parameters.pointers(), parameters.lengths(), parameters.formats(),
                            1) != 1) {
        throwLost(PQerrorMessage(connection_.get()));
    }
    Pending pending{kind, {}};
    if (kind == Pending::Kind::PRIME) {
        pending.key = questionOf(sql, values);
    }
    pending_.push_back(std::move(pending));
}

void PostgresConnection::queueSync() {
    if (PQpipelineSync(connection_.get()) != 1) {
        throwLost(PQerrorMessage(connection_.get()));
    }
    pending_.push_back({Pending::Kind::SYNC, {}});
}

PostgresResult PostgresConnection::sync() {
    queueSync();
    ++traffic_->roundTrips;
    return readAnswers();
}

PostgresResult PostgresConnection::readAnswers() {
    PostgresResult last;
    PostgresResult failed;
    while (!pending_.empty()) {
        const Pending pending = std::move(pending_.front());
        pending_.pop_front();
        PostgresResult result(PQgetResult(connection_.get()));
        if (!result || PQstatus(connection_.get()) == CONNECTION_BAD) {
            throwLost(PQerrorMessage(connection_.get()));
        }
        if (pending.kind == Pending::Kind::SYNC) {
            break;
        }
        // A null ends the answers to each command.
        while (PostgresResult(PQgetResult(connection_.get()))) {
        }
        const ExecStatusType status = PQresultStatus(result.get());
        const bool good = status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
        if (!good && pending.kind == Pending::Kind::PREPARE) {
            prepared_.erase(pending.key);
        }
        if (!good && status != PGRES_PIPELINE_ABORTED && !failed) {
            failed = std::move(result);
        } else if (good && pending.kind == Pending::Kind::PRIME && !pending.key.empty()) {
            primed_[pending.key] = std::move(result);
        } else if (good && pending.kind == Pending::Kind::QUERY) {
            last = std::move(result);
        }
    }
    if (failed) {
        throwFailure(failed);
    }
    return last;
}

PostgresResult PostgresConnection::ask(std::string_view sql, Values values) {
    send(Pending::Kind::QUERY, sql, values);
    PostgresResult result = sync();
    if (!result) {
        throw DatabaseError(StoreErrorCode::OTHER, "the database server did not answer");
    }
    return result;
}

PostgresResult PostgresConnection::askOnce(const std::string& sql) {
    beReadyToSend();
    if (PQsendQueryParams(connection_.get(), sql.c_str(), 0, nullptr, nullptr, nullptr, nullptr,
                          1) != 1) {
        throwLost(PQerrorMessage(connection_.get()));
    }
    pending_.push_back({Pending::Kind::QUERY, {}});
    return sync();
}

Rows PostgresConnection::scan(std::string_view sql) {
    const std::string cursor = "scan" + std::to_string(++scans_);
    // All rows will be wanted, and not the first ones soon.
    askOnce("set local cursor_tuple_fraction = 1");
    askOnce("declare " + cursor + " no scroll cursor for " + std::string(sql));
    const auto fetch = [this, sql = "fetch 1000 from " + cursor] { return askOnce(sql); };
    return Rows(new PostgresRows(fetch(), fetch));
}

bool PostgresConnection::isAsked(const std::string& question) const {
    return std::ranges::any_of(pending_,
                               [&](const Pending& pending) { return pending.key == question; });
}

Rows PostgresConnection::query(std::string_view sql, std::initializer_list<Value> values) {
    if (!primed_.empty() || !pending_.empty()) {
        const std::string key = questionOf(sql, {values.begin(), values.size()});
        if (isAsked(key)) {
            sync();
        }
        if (const auto primed = primed_.find(key); primed != primed_.end()) {
            PostgresResult result = std::move(primed->second);
            primed_.erase(primed);
            return Rows(new PostgresRows(std::move(result)));
        }
    }
    return Rows(new PostgresRows(ask(sql, {values.begin(), values.size()})));
}

void PostgresConnection::noteWrite() {
    ++statements_;
    primed_.clear();
    for (Pending& pending : pending_) {
        if (pending.kind == Pending::Kind::PRIME) {
            pending.key.clear();
        }
    }
}

std::int64_t PostgresConnection::execute(std::string_view sql,
                                         std::initializer_list<Value> values) {
    noteWrite();
    const PostgresResult result = ask(sql, {values.begin(), values.size()});
    return std::strtol(PQcmdTuples(result.get()), nullptr, 10);
}

void PostgresConnection::post(std::string_view sql, std::initializer_list<Value> values) {
    noteWrite();
    send(Pending::Kind::POST, sql, {values.begin(), values.size()});
}

void PostgresConnection::prime(std::string_view sql, std::initializer_list<Value> values) {
    const std::string key = questionOf(sql, {values.begin(), values.size()});
    if (!primed_.contains(key) && !isAsked(key)) {
        send(Pending::Kind::PRIME, sql, {values.begin(), values.size()});
    }
}

void PostgresConnection::holdPrimed(std::string_view sql, std::initializer_list<Value> values) {
    heldPrimed_ = std::exchange(primed_, {});
    heldPrimed_.erase(questionOf(sql, {values.begin(), values.size()}));
}

void PostgresConnection::releasePrimed() {
    primed_.merge(heldPrimed_);
    heldPrimed_.clear();
}

void PostgresConnection::forgetPrimed() {
    primed_.clear();
    heldPrimed_.clear();
}

Rows PostgresConnection::lock(RowLock how, std::string_view sql,
                              std::initializer_list<Value> values) {
    return query(std::string(sql) + suffixOf(how), values);
}

std::int64_t PostgresConnection::nextId(std::string_view table) {
    auto known = ids_.find(table);
    if (known == ids_.end()) {
        known = ids_.try_emplace(std::string(table)).first;
    }
    Ids& ids = known->second;
    if (ids.next == ids.end) {
        // The sequence counts in blocks.
        ids.next = number("select nextval('" + std::string(table) + "_id_seq')");
        ids.end = ids.next + idsAtOnce;
    }
    return ids.next++;
}

std::int64_t PostgresConnection::insert(std::string_view table, std::string_view columns,
                                        std::initializer_list<Value> values) {
    std::vector<Value> all{nextId(table)};
    all.insert(all.end(), values);
    std::string sql = "insert into ";
    sql.append(table).append("(id, ").append(columns).append(") values(");
    for (std::size_t number = 1; number <= all.size(); ++number) {
        sql.append(number == 1 ? "$" : ", $").append(std::to_string(number));
    }
    noteWrite();
    send(Pending::Kind::POST, sql += ')', all);
    return std::get<std::int64_t>(all.front());
}

std::int64_t PostgresConnection::idAfter(std::string_view table, std::int64_t /*newest*/) {
    return nextId(table);
}

std::int64_t PostgresConnection::highestId(std::string_view table) {
    return number("select case when is_called then last_value else 0 end from " +
                  std::string(table) + "_id_seq") +
           idsAtOnce;
}

void PostgresConnection::raiseIds(std::string_view table, std::int64_t highest) {
    query("select setval('" + std::string(table) + "_id_seq', $1)",
          {std::max<std::int64_t>(highest, 1)});
    ids_.clear();
}

void PostgresConnection::primeChunk(std::int64_t chunk, std::size_t offset, std::size_t size) {
    prime(selectFromChunk,
          {chunk, static_cast<std::int64_t>(offset) + 1, static_cast<std::int64_t>(size)});
}

void PostgresConnection::readChunk(std::int64_t chunk, std::size_t offset, char* into,
                                   std::size_t size) {
    const Rows row = query(selectFromChunk, {chunk, static_cast<std::int64_t>(offset) + 1,
                                             static_cast<std::int64_t>(size)});
    if (!row->next() || row->bytes(0).size() != size) {
        throwDamaged("a part of a content is missing");
    }
    std::memcpy(into, row->bytes(0).data(), size);
}

void PostgresConnection::copyInto(const std::string& /*path*/) {
    throw DatabaseError(StoreErrorCode::OTHER,
                        "a store on a database server is backed up by the server's own means");
}

// A server that ends an idle connection first sends the reason.
bool PostgresConnection::hasEnded() {
    if (!pending_.empty()) {
        readAnswers();
    }
    pg_conn* const connection = connection_.get();
    return PQconsumeInput(connection) != 1 || PQconsumeInput(connection) != 1;
}

void PostgresConnection::begin(Access access) {
    if (lost_ || hasEnded()) {
        connect();
    }
    writing_ = access == Access::WRITE;
    ++transactions_;
    buckets_.begin(writing_);
    forgetPrimed();
    serverTime_.reset();
    open_ = true;
    if (!writing_) {
        send(Pending::Kind::POST, "begin isolation level repeatable read read only", {});
        return;
    }
    try {
        beginWriting();
    } catch (...) {
        rollback();
        throw;
    }
}

void PostgresConnection::beginWriting() {
    batch_ = randomNumber();
    const std::string array = arrayOf(lockNext_);
    const std::vector<std::int64_t> wanted = std::exchange(lockNext_, {});
    send(Pending::Kind::POST, "begin isolation level read committed", {});
    constexpr std::string_view writeLane =
        "insert into lanes(id, batch, seen)"
        " values($1, $2, cast(extract(epoch from clock_timestamp()) * 1000000000 as bigint))"
        " on conflict(id) do update set batch = excluded.batch, seen = excluded.seen"
        " returning seen";
    if (wanted.empty()) {
        serverTime_ = number(writeLane, {lane_, batch_});
        return;
    }
    prime(writeLane, {lane_, batch_});
    prime(lockBuckets, {array});
    prime(lockOwners, {array});
    serverTime_ = number(writeLane, {lane_, batch_});
    for (const std::int64_t id : wanted) {
        buckets_.hold(id, std::nullopt);
    }
    const Rows rows = query(lockBuckets, {array});
    while (rows->next()) {
        buckets_.hold(rows->integer(0), Buckets::read(*rows));
    }
    query(lockOwners, {array});
}

void PostgresConnection::commit() {
    if (!writing_) {
        // The answer is read by the next statement, but the server ends the snapshot now.
        send(Pending::Kind::POST, "commit", {});
        queueSync();
        PQflush(connection_.get());
        open_ = false;
        return;
    }
    buckets_.write();
    try {
        const PostgresResult result = ask("commit", {});
        if (std::strcmp(PQcmdStatus(result.get()), "COMMIT") != 0) {
            throw DatabaseError(StoreErrorCode::OTHER, "the database undid the transaction");
        }
    } catch (const TransientError&) {
        if (!lost_ || !hasCommitted()) {
            throw;
        }
    }
    open_ = false;
}

bool PostgresConnection::hasCommitted() {
    const auto deadline = std::chrono::steady_clock::now() + lockPatience_;
    for (;;) {
        try {
            connect();
            // Waits until the server has ended what went on for the lost connection.
            const Rows row = query("select batch from lanes where id = $1 for update", {lane_});
            ++traffic_->settled;
            return row->next() && row->integer(0) == batch_;
        } catch (const TransientError&) {
            if (std::chrono::steady_clock::now() > deadline) {
                throw DatabaseError(StoreErrorCode::OTHER,
                                    "the connection to the database server was lost: it is not"
                                    " known whether the call took effect");
            }
        }
        std::this_thread::sleep_for(50ms);
    }
}

void PostgresConnection::rollback() noexcept {
    buckets_.begin(false);
    rollbacks_ += writing_ ? 1 : 0;
    if (std::exchange(open_, false) && !lost_) {
        try {
            try {
                sync();
            } catch (const TransientError&) {
                if (lost_) {
                    return;
                }
            } catch (const DatabaseError&) {
                // Whatever failed is undone.
            }
            ask("rollback", {});
        } catch (...) {
            lost_ = true;
        }
    }
}

bool PostgresConnection::hasFailed() const {
    return lost_ || PQtransactionStatus(connection_.get()) == PQTRANS_INERROR;
}

void PostgresConnection::rollbackToSavepoint() {
    ++rollbacks_;
    forgetPrimed();
    if (!pending_.empty()) {
        try {
            sync();
        } catch (const TransientError&) {
            if (lost_) {
                throw;
            }
        } catch (const DatabaseError&) {
            // It belongs to what is undone.
        }
    }
    Connection::rollbackToSavepoint();
}

}  // namespace storage::kvxstore::database
