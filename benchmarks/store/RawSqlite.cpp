#include "store/RawSqlite.h"

#include <chrono>
#include <map>
#include <stdexcept>

#include "Harness.h"

namespace bench {

namespace {

constexpr std::int64_t rootFolder = 1;
constexpr std::int64_t listedFolder = 2;

constexpr const char* schema =
    "pragma page_size = 16384; pragma journal_mode = wal;"
    "create table buckets(id integer primary key, seq integer, used integer);"
    "create table nodes(id integer primary key, bucket integer, parent integer, name text,"
    " kind integer, seq integer, size integer, label integer, created integer, modified integer,"
    " client_modified integer, unique(parent, name));"
    "create table versions(node integer, label integer, content integer, content_type text,"
    " created integer, primary key(node, label)) without rowid;"
    "create table contents(id integer primary key, size integer);"
    "create table extents(content integer, idx integer, chunk integer,"
    " primary key(content, idx)) without rowid;"
    "create table chunks(id integer primary key, data blob);"
    "create table changes(bucket integer, seq integer, node integer, kind integer, at integer,"
    " primary key(bucket, seq)) without rowid;"
    "insert into buckets values(1, 0, 0);";

struct Entry {
    std::string name;
    std::int64_t size, created, modified, clientModified;
};

}  // namespace

class RawSqlite::Connection {
public:
    explicit Connection(const std::string& path) {
        check(sqlite3_open_v2(path.c_str(), &database_,
                              SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                              nullptr));
        run("pragma synchronous = full; pragma cache_size = -8192; pragma secure_delete = off;"
            "pragma journal_size_limit = 67108864");
    }
    ~Connection() {
        for (const auto& [sql, statement] : statements_) {
            sqlite3_finalize(statement);
        }
        sqlite3_blob_close(blob_);
        sqlite3_close(database_);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void run(const char* sql) { check(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr)); }

    // Prepares the statement once; the texts given must outlive its steps.
    template <class... Values>
    sqlite3_stmt* start(const char* sql, const Values&... values) {
        sqlite3_stmt*& statement = statements_[sql];
        if (statement == nullptr) {
            check(sqlite3_prepare_v3(database_, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement,
                                     nullptr));
        }
        sqlite3_reset(statement);
        int index = 0;
        (check(bind(statement, ++index, values)), ...);
        return statement;
    }

    bool next(sqlite3_stmt* statement) {
        const int code = sqlite3_step(statement);
        if (code != SQLITE_ROW && code != SQLITE_DONE) {
            check(code);
        }
        return code == SQLITE_ROW;
    }

    template <class... Values>
    std::int64_t insert(const char* sql, const Values&... values) {
        next(start(sql, values...));
        return sqlite3_last_insert_rowid(database_);
    }

    void readChunk(std::int64_t chunk, std::size_t offset, char* into, std::size_t size) {
        check(blob_ != nullptr
                  ? sqlite3_blob_reopen(blob_, chunk)
                  : sqlite3_blob_open(database_, "main", "chunks", "data", chunk, 0, &blob_));
        check(sqlite3_blob_read(blob_, into, static_cast<int>(size), static_cast<int>(offset)));
    }

private:
    static int bind(sqlite3_stmt* statement, int index, std::int64_t value) {
        return sqlite3_bind_int64(statement, index, value);
    }
    // Text and content alike: no column here converts.
    static int bind(sqlite3_stmt* statement, int index, std::string_view bytes) {
        return sqlite3_bind_text64(statement, index, bytes.data(), bytes.size(), SQLITE_STATIC,
                                   SQLITE_UTF8);
    }

    void check(int code) {
        if (code != SQLITE_OK) {
            throw std::runtime_error(std::string("raw SQLite: ") + sqlite3_errmsg(database_));
        }
    }

    sqlite3* database_ = nullptr;
    sqlite3_blob* blob_ = nullptr;
    std::map<const char*, sqlite3_stmt*> statements_;
};

namespace {

void putFile(RawSqlite::Connection& database, std::int64_t parent, std::string_view name,
             std::string_view bytes) {
    const std::int64_t time = std::chrono::system_clock::now().time_since_epoch().count();
    const auto size = static_cast<std::int64_t>(bytes.size());
    sqlite3_stmt* const bucket = database.start(
        "update buckets set seq = seq + 1, used = used + ? where id = 1 returning seq", size);
    database.next(bucket);
    const std::int64_t seq = sqlite3_column_int64(bucket, 0);
    sqlite3_reset(bucket);
    const std::int64_t node =
        database.insert("insert into nodes values(null, 1, ?, ?, 1, ?, ?, 1, ?, ?, ?)", parent,
                        name, seq, size, time, time, time);
    const std::int64_t content = database.insert("insert into contents values(null, ?)", size);
    for (std::int64_t idx = 0; !bytes.empty(); ++idx) {
        const std::string_view data = bytes.substr(0, chunkSize);
        const std::int64_t chunk = database.insert("insert into chunks values(null, ?)", data);
        database.insert("insert into extents values(?, ?, ?)", content, idx, chunk);
        bytes.remove_prefix(data.size());
    }
    database.insert("insert into versions values(?, 1, ?, '', ?)", node, content, time);
    database.insert("insert into changes values(1, ?, ?, 0, ?)", seq, node, time);
}

}  // namespace

RawSqlite::RawSqlite(const std::string& folder) {
    const std::string path = folder + "/raw.db";
    writer_ = std::make_unique<Connection>(path);
    writer_->run(schema);
    for (int i = 0; i < mostCallers; ++i) {
        readers_.push_back(std::make_unique<Connection>(path));
    }
    start();
}

RawSqlite::~RawSqlite() { stop(); }

void RawSqlite::commit(const Batch& batch) {
    writer_->run("begin immediate");
    for (const Job* job : batch) {
        if (job->entries == 0) {
            putFile(*writer_, rootFolder, job->name, job->content);
        }
        for (std::size_t i = 0; i < job->entries; ++i) {
            putFile(*writer_, listedFolder, "entry-" + std::to_string(i), {});
        }
    }
    writer_->run("commit");
}

std::size_t RawSqlite::get(int caller, const std::string& name) {
    Connection& database = *readers_[static_cast<std::size_t>(caller)];
    sqlite3_stmt* const rows = database.start(
        "select n.size, e.chunk from nodes n join versions v on v.node = n.id and v.label = n.label"
        " join extents e on e.content = v.content where n.parent = ? and n.name = ? order by e.idx",
        rootFolder, name);
    std::vector<char> bytes;
    std::size_t offset = 0;
    while (database.next(rows)) {
        bytes.resize(static_cast<std::size_t>(sqlite3_column_int64(rows, 0)));
        const std::size_t size = std::min(bytes.size() - offset, chunkSize);
        database.readChunk(sqlite3_column_int64(rows, 1), 0, bytes.data() + offset, size);
        offset += size;
    }
    sqlite3_reset(rows);
    keep(bytes);
    return bytes.size();
}

std::size_t RawSqlite::readRange(int caller, std::size_t offset, std::size_t size) {
    Connection& database = *readers_[static_cast<std::size_t>(caller)];
    sqlite3_stmt* const row = database.start(
        "select e.chunk from nodes n join versions v on v.node = n.id and v.label = n.label"
        " join extents e on e.content = v.content where n.parent = ? and n.name = ? and e.idx = ?",
        rootFolder, std::string_view(bigFile), static_cast<std::int64_t>(offset / chunkSize));
    std::vector<char> bytes(size);
    if (database.next(row)) {
        database.readChunk(sqlite3_column_int64(row, 0), offset % chunkSize, bytes.data(), size);
    }
    sqlite3_reset(row);
    keep(bytes);
    return bytes.size();
}

std::size_t RawSqlite::list() {
    Connection& database = *readers_[0];
    sqlite3_stmt* const rows = database.start(
        "select name, size, created, modified, client_modified from nodes where parent = ?"
        " order by name",
        listedFolder);
    std::vector<Entry> entries;
    while (database.next(rows)) {
        entries.push_back({reinterpret_cast<const char*>(sqlite3_column_text(rows, 0)),
                           sqlite3_column_int64(rows, 1), sqlite3_column_int64(rows, 2),
                           sqlite3_column_int64(rows, 3), sqlite3_column_int64(rows, 4)});
    }
    sqlite3_reset(rows);
    keep(entries);
    return entries.size();
}

}  // namespace bench
