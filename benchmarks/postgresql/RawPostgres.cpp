#include "postgresql/RawPostgres.h"

#include <endian.h>
#include <libpq-fe.h>

#include <chrono>
#include <cstring>
#include <map>
#include <stdexcept>

#include "Harness.h"

namespace bench {

namespace {

constexpr std::int64_t rootFolder = 1;
constexpr std::int64_t listedFolder = 2;
// As many as the store has.
constexpr std::size_t readers = 8;

constexpr const char* schema =
    "drop table if exists buckets, nodes, versions, contents, extents, chunks;"
    "create table buckets(id bigint primary key, seq bigint, used bigint) with (fillfactor = 50);"
    "create table nodes(id bigint primary key, bucket bigint, parent bigint,"
    " name text collate \"C\", kind bigint, seq bigint, size bigint, label bigint, created bigint,"
    " modified bigint, client_modified bigint, shared bigint, unique(parent, name));"
    "create index nodes_change on nodes(bucket, seq);"
    "create table versions(node bigint, label bigint, content bigint, content_type bytea,"
    " created bigint, checksum bigint, primary key(node, label));"
    "create index versions_content on versions(content);"
    "create table contents(id bigint primary key, size bigint, stored bigint, checksum bigint);"
    "create table extents(content bigint, idx bigint, chunk bigint, size bigint, checksums bytea,"
    " primary key(content, idx));"
    "create index extents_chunk on extents(chunk);"
    "create table chunks(id bigint primary key, checksum bigint, data bytea);"
    "alter table chunks alter column data set storage external;"
    "insert into buckets values(1, 0, 0)";

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

std::int64_t integer(const Result& result, int row, int column) {
    std::int64_t bytes = 0;
    std::memcpy(&bytes, PQgetvalue(result.get(), row, column), sizeof bytes);
    return static_cast<std::int64_t>(be64toh(static_cast<std::uint64_t>(bytes)));
}

std::string_view bytesOf(const Result& result, int row, int column) {
    return {PQgetvalue(result.get(), row, column),
            static_cast<std::size_t>(PQgetlength(result.get(), row, column))};
}

struct Entry {
    std::string name;
    std::int64_t size, created, modified, clientModified;
};

}  // namespace

class RawPostgres::Connection {
public:
    explicit Connection(const std::string& url) : connection_(PQconnectdb(url.c_str()), PQfinish) {
        require(PQstatus(connection_.get()) == CONNECTION_OK);
        PQsetNoticeProcessor(
            connection_.get(), [](void*, const char*) {}, nullptr);
    }

    void run(const char* sql) {
        const Result result(PQexec(connection_.get(), sql), PQclear);
        const auto status = PQresultStatus(result.get());
        require(status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK);
    }

    /// Sends a statement with its values, texts and numbers, and lets the answer wait for sync().
    template <class... Values>
    void post(const char* sql, const Values&... values) {
        if (PQpipelineStatus(connection_.get()) == PQ_PIPELINE_OFF) {
            require(PQenterPipelineMode(connection_.get()) == 1);
        }
        const auto [known, isNew] = names_.try_emplace(sql, std::to_string(names_.size()));
        if (isNew) {
            require(PQsendPrepare(connection_.get(), known->second.c_str(), sql, 0, nullptr) == 1);
        }
        std::vector<std::string> numbers;
        numbers.reserve(sizeof...(values));
        std::vector<const char*> pointers;
        std::vector<int> lengths;
        std::vector<int> formats;
        [[maybe_unused]] const auto add = [&](const auto& value) {
            if constexpr (std::is_convertible_v<decltype(value), std::string_view>) {
                const std::string_view bytes = value;
                pointers.push_back(bytes.data() == nullptr ? "" : bytes.data());
                lengths.push_back(static_cast<int>(bytes.size()));
                formats.push_back(1);
            } else {
                pointers.push_back(numbers.emplace_back(std::to_string(value)).c_str());
                lengths.push_back(0);
                formats.push_back(0);
            }
        };
        (add(values), ...);
        require(PQsendQueryPrepared(connection_.get(), known->second.c_str(), sizeof...(values),
                                    pointers.data(), lengths.data(), formats.data(), 1) == 1);
    }

    /// Waits for all answers and returns the last one.
    Result sync() {
        require(PQpipelineSync(connection_.get()) == 1);
        Result last(nullptr, PQclear);
        for (;;) {
            Result result(PQgetResult(connection_.get()), PQclear);
            if (!result) {
                continue;  // The end of one statement's answers.
            }
            const auto status = PQresultStatus(result.get());
            if (status == PGRES_PIPELINE_SYNC) {
                return last;
            }
            require(status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK);
            last = std::move(result);
        }
    }

    template <class... Values>
    Result ask(const char* sql, const Values&... values) {
        post(sql, values...);
        return sync();
    }

private:
    void require(bool good) {
        if (!good) {
            throw std::runtime_error(std::string("plain SQL: ") +
                                     PQerrorMessage(connection_.get()));
        }
    }

    std::unique_ptr<PGconn, decltype(&PQfinish)> connection_;
    std::map<const char*, std::string> names_;
};

RawPostgres::RawPostgres(const std::string& url) : writer_(std::make_unique<Connection>(url)) {
    writer_->run(schema);
    for (std::size_t i = 0; i < readers; ++i) {
        readers_.push_back(std::make_unique<Connection>(url));
    }
    start();
}

RawPostgres::~RawPostgres() { stop(); }

void RawPostgres::putFile(std::int64_t parent, std::string_view name, std::string_view bytes) {
    const std::int64_t time = std::chrono::system_clock::now().time_since_epoch().count();
    const std::int64_t node = ++id_;
    const std::int64_t content = ++id_;
    writer_->post("insert into nodes values($1, 1, $2, $3, 1, $1, $4, 1, $5, $5, $5, 0)", node,
                  parent, name, bytes.size(), time);
    writer_->post("insert into versions values($1, 1, $2, '', $3, $3)", node, content, time);
    writer_->post("insert into contents values($1, $2, $2, $3)", content, bytes.size(), time);
    for (std::int64_t idx = 0; !bytes.empty(); ++idx) {
        const std::string_view data = bytes.substr(0, chunkSize);
        const std::int64_t chunk = ++id_;
        writer_->post("insert into chunks values($1, $2, $3)", chunk, time, data);
        writer_->post("insert into extents values($1, $2, $3, $4, $5)", content, idx, chunk,
                      data.size(),
                      std::string(std::max<std::size_t>(data.size() * 8 >> 14U, 8), 'c'));
        bytes.remove_prefix(data.size());
    }
}

void RawPostgres::commit(const Batch& batch) {
    constexpr std::size_t mostAtOnce = 512;
    writer_->post("begin");
    writer_->ask("select seq, used from buckets where id = 1 for update");
    for (const Job* job : batch) {
        if (job->entries == 0) {
            putFile(rootFolder, job->name, job->content);
        }
        for (std::size_t i = 0; i < job->entries; ++i) {
            putFile(listedFolder, "entry-" + std::to_string(i), {});
            if (i % mostAtOnce == 0) {
                writer_->sync();
            }
        }
    }
    writer_->post("update buckets set seq = $1, used = used + 1024 where id = 1", id_);
    writer_->post("commit");
    writer_->sync();
}

std::size_t RawPostgres::get(int caller, const std::string& name) {
    const Result rows = readers_.at(static_cast<std::size_t>(caller))
                            ->ask(
                                "select n.size, k.data from nodes n"
                                " join versions v on v.node = n.id and v.label = n.label"
                                " join extents e on e.content = v.content"
                                " join chunks k on k.id = e.chunk"
                                " where n.parent = $1 and n.name = $2 order by e.idx",
                                rootFolder, name);
    std::string bytes;
    for (int row = 0; row < PQntuples(rows.get()); ++row) {
        bytes.reserve(static_cast<std::size_t>(integer(rows, row, 0)));
        bytes += bytesOf(rows, row, 1);
    }
    keep(bytes);
    return bytes.size();
}

std::size_t RawPostgres::readRange(int caller, std::size_t offset, std::size_t size) {
    const Result row = readers_.at(static_cast<std::size_t>(caller))
                           ->ask(
                               "select substring(k.data from cast($1 as int) for cast($2 as int))"
                               " from nodes n"
                               " join versions v on v.node = n.id and v.label = n.label"
                               " join extents e on e.content = v.content"
                               " join chunks k on k.id = e.chunk"
                               " where n.parent = $3 and n.name = $4 and e.idx = $5",
                               offset % chunkSize + 1, size, rootFolder, std::string_view(bigFile),
                               offset / chunkSize);
    const std::string bytes(PQntuples(row.get()) == 1 ? bytesOf(row, 0, 0) : "");
    keep(bytes);
    return bytes.size();
}

std::size_t RawPostgres::list() {
    const Result rows = readers_[0]->ask(
        "select name, size, created, modified, client_modified from nodes where parent = $1"
        " order by name",
        listedFolder);
    std::vector<Entry> entries;
    for (int row = 0; row < PQntuples(rows.get()); ++row) {
        entries.push_back({std::string(bytesOf(rows, row, 0)), integer(rows, row, 1),
                           integer(rows, row, 2), integer(rows, row, 3), integer(rows, row, 4)});
    }
    keep(entries);
    return entries.size();
}

void runOnServer(const std::string& url, const char* statements) {
    RawPostgres::Connection(url).run(statements);
}

}  // namespace bench
