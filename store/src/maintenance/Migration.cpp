#include "maintenance/Migration.h"

#include <array>
#include <map>
#include <optional>
#include <utility>
#include <variant>

#include "core/Checksum.h"
#include "core/Secrets.h"
#include "database/Schema.h"
#include "maintenance/Verification.h"
#include "namespace/BulkInsert.h"

namespace storage::kvxstore {

namespace {

using database::Access;
using database::Connection;
using database::Transaction;

enum class CellType { NUMBER, TEXT, FREE_TEXT, BYTES, CHUNK };

struct Column {
    std::string name;
    CellType type = CellType::NUMBER;
    /// Its value in the source.
    std::string source = name;
};

struct Table {
    std::string name;
    /// The keys come first.
    std::vector<Column> columns;
    std::size_t keys = 1;
    bool hasIds = false;
    /// Which rows of the source are copied.
    std::string condition = {};
    std::size_t pageSize = 256;
};

// Without what only handles, downloads and charges count.
const std::string bytesOfVersions =
    "(select coalesce(cast(sum(c.size) as bigint), 0) from nodes n"
    " join versions v on v.node = n.id join contents c on c.id = v.content"
    " where n.bucket = buckets.id)";

// The limits keep a planner from joining all rows for each page.
const std::string isOfVersion =
    "(select 1 from versions v where v.content = contents.id limit 1) = 1";
const std::string isOfContent =
    "(select 1 from versions v where v.content = extents.content limit 1) = 1";
const std::string isOfExtent =
    "(select 1 from extents e join versions v on v.content = e.content"
    " where e.chunk = chunks.id limit 1) = 1";

// All that lasts. Sessions, handles, downloads and what belongs to them end with the source.
const std::array<Table, 12> tables{{
    {"users",
     {{"id"},
      {"name", CellType::TEXT},
      {"email", CellType::FREE_TEXT},
      {"first_name", CellType::FREE_TEXT},
      {"last_name", CellType::FREE_TEXT},
      {"quota"}},
     1,
     true},
    {"tokens", {{"hash", CellType::BYTES}, {"owner"}}},
    {"buckets",
     {{"id"},
      {"name", CellType::TEXT},
      {"owner"},
      {"root"},
      {"seq"},
      {"used", CellType::NUMBER, bytesOfVersions},
      {"structure"}},
     1,
     true},
    {"nodes",
     {{"id"},
      {"bucket"},
      {"parent"},
      {"name", CellType::TEXT},
      {"kind"},
      {"seq"},
      {"size"},
      {"label"},
      {"created"},
      {"modified"},
      {"client_modified"},
      {"shared"}},
     1,
     true},
    {"vacated", {{"parent"}, {"name", CellType::TEXT}, {"bucket"}, {"seq"}, {"node"}, {"kind"}}, 2},
    {"versions",
     {{"node"},
      {"label"},
      {"content"},
      {"content_type", CellType::FREE_TEXT},
      {"created"},
      {"checksum"}},
     2},
    {"grants",
     {{"id"},
      {"node"},
      {"grantee"},
      {"name", CellType::TEXT},
      {"level"},
      {"invitation", CellType::TEXT},
      {"seq"}},
     1,
     true},
    {"invitations",
     {{"id", CellType::TEXT},
      {"node"},
      {"inviter"},
      {"recipient"},
      {"recipient_name", CellType::FREE_TEXT},
      {"type"},
      {"level"},
      {"status"},
      {"created"},
      {"origin", CellType::TEXT}}},
    {"policies", {{"node"}, {"versions"}, {"public_access"}}},
    {"contents", {{"id"}, {"size"}, {"stored"}, {"checksum"}}, 1, true, isOfVersion},
    {"extents",
     {{"content"}, {"idx"}, {"chunk"}, {"size"}, {"checksums", CellType::BYTES}},
     2,
     false,
     isOfContent},
    {"chunks", {{"id"}, {"checksum"}, {"data", CellType::CHUNK}}, 1, true, isOfExtent, 16},
}};

using Cell = std::variant<std::int64_t, std::string>;
using CopiedRow = std::vector<Cell>;
using Page = std::vector<CopiedRow>;

/// What a page is read for: the whole rows of the source, or what is compared of either side.
enum class Reading { COPY, SOURCE, TARGET };

CellType typeFor(const Column& column, Reading reading) {
    // Who copies chunks compares them with their checksums, and so does a verification.
    const bool isLength = column.type == CellType::CHUNK && reading != Reading::COPY;
    return isLength ? CellType::NUMBER : column.type;
}

std::string listOf(const Table& table, std::size_t count, std::string Column::*member) {
    std::string list;
    for (std::size_t i = 0; i < count; ++i) {
        list.append(i == 0 ? "" : ", ").append(table.columns[i].*member);
    }
    return list;
}

std::string selectionFor(const Table& table, Reading reading, bool fromStart) {
    std::string sql = "select ";
    for (const Column& column : table.columns) {
        const std::string& value = reading == Reading::TARGET ? column.name : column.source;
        sql.append(&column == &table.columns.front() ? "" : ", ");
        sql += typeFor(column, reading) == column.type ? value : "length(" + value + ')';
    }
    const std::string keys = listOf(table, table.keys, &Column::name);
    sql += " from " + table.name + " where ";
    sql += fromStart ? "1 = 1" : '(' + keys + ") > (" + (table.keys == 1 ? "$1)" : "$1, $2)");
    if (reading != Reading::TARGET && !table.condition.empty()) {
        sql += " and " + table.condition;
    }
    return sql + " order by " + keys + " limit " + std::to_string(table.pageSize);
}

database::Value valueOf(const Cell& cell, CellType type) {
    if (const auto* number = std::get_if<std::int64_t>(&cell)) {
        return *number;
    }
    const std::string_view bytes = std::get<std::string>(cell);
    switch (type) {
        case CellType::TEXT:
            return bytes;
        case CellType::FREE_TEXT:
            return database::FreeText{bytes};
        default:
            return database::Blob{bytes};
    }
}

/// Reads the rows that come after one, or the first ones.
Page readPage(Connection& database, const Table& table, Reading reading,
              const std::optional<CopiedRow>& after) {
    const std::string sql = selectionFor(table, reading, !after);
    const auto key = [&](std::size_t i) { return valueOf((*after)[i], table.columns[i].type); };
    const auto rows = !after            ? database.query(sql)
                      : table.keys == 1 ? database.query(sql, {key(0)})
                                        : database.query(sql, {key(0), key(1)});
    return collect(rows, [&](const database::Statement& row) {
        CopiedRow copied;
        for (int i = 0; const Column& column : table.columns) {
            typeFor(column, reading) == CellType::NUMBER ? copied.emplace_back(row.integer(i))
                                                         : copied.emplace_back(row.text(i));
            ++i;
        }
        return copied;
    });
}

/// The last row of a table, as far as it has a key; nothing for an empty table.
std::optional<CopiedRow> lastKey(Connection& database, const Table& table) {
    std::string order;
    for (std::size_t i = 0; i < table.keys; ++i) {
        order.append(i == 0 ? "" : ", ").append(table.columns[i].name).append(" desc");
    }
    const auto row = database.query("select " + listOf(table, table.keys, &Column::name) +
                                    " from " + table.name + " order by " + order + " limit 1");
    if (!row->next()) {
        return std::nullopt;
    }
    CopiedRow key;
    for (std::size_t i = 0; i < table.keys; ++i) {
        const int column = static_cast<int>(i);
        table.columns[i].type == CellType::NUMBER ? key.emplace_back(row->integer(column))
                                                  : key.emplace_back(row->text(column));
    }
    return key;
}

template <std::size_t columns>
void insertRows(Connection& database, const Table& table, const Page& page) {
    BulkInsert<columns> rows(database,
                             table.name + '(' + listOf(table, columns, &Column::name) + ')');
    for (const CopiedRow& row : page) {
        typename BulkInsert<columns>::Row values;
        for (std::size_t i = 0; i < columns; ++i) {
            values[i] = valueOf(row[i], table.columns[i].type);
        }
        rows.add(values);
    }
    rows.finish();
}

void insertPage(Connection& database, const Table& table, const Page& page) {
    constexpr std::size_t least = 2;
    [&]<std::size_t... more>(std::index_sequence<more...>) {
        ((table.columns.size() == least + more ? insertRows<least + more>(database, table, page)
                                               : void()),
         ...);
    }
    (std::make_index_sequence<11>());
}

std::int64_t checksumWith(std::int64_t checksum, const CopiedRow& row) {
    std::string bytes;
    for (const Cell& cell : row) {
        const auto* text = std::get_if<std::string>(&cell);
        bytes += std::to_string(text ? static_cast<std::int64_t>(text->size())
                                     : std::get<std::int64_t>(cell));
        bytes.append(1, ':').append(text ? *text : std::string());
    }
    return checksumOf(bytes, checksum);
}

/// Does the work, and says in which store it failed.
template <class Work>
auto inStore(const char* which, Work work) {
    try {
        return work();
    } catch (const database::DatabaseError& error) {
        throw StoreError(error.code(), std::string(which) + ": " + error.what());
    }
}

class Migration {
public:
    Migration(const Context& source, const Context& target,
              const std::function<void(const MigrationProgress&)>& tell)
        : source_(source.database), target_(target), tell_(tell) {}

    std::vector<MigratedTable> run() {
        // All that is read is of one moment.
        Transaction snapshot(source_, Access::READ);
        begin();
        for (const Table& table : tables) {
            copy(table);
        }
        std::vector<MigratedTable> compared;
        for (const Table& table : tables) {
            target_.database.analyze(table.name);
            compared.push_back(compare(table));
        }
        inStore("the source", [&] { snapshot.commit(); });
        verifyTarget();
        finish();
        return compared;
    }

private:
    Page read(const Table& table, Reading reading, const std::optional<CopiedRow>& after) const {
        return reading == Reading::TARGET
                   ? inStore("the target",
                             [&] { return readPage(target_.database, table, reading, after); })
                   : inStore("the source",
                             [&] { return readPage(source_, table, reading, after); });
    }

    /// A change of a file or folder, of users or their tokens shows in these tables.
    std::int64_t stateOfSource() const {
        std::int64_t checksum = 0;
        for (const std::size_t i : {0, 1, 2}) {
            std::optional<CopiedRow> last;
            for (Page page; !(page = read(tables[i], Reading::SOURCE, last)).empty();
                 last = page.back()) {
                for (const CopiedRow& row : page) {
                    checksum = checksumWith(checksum, row);
                }
            }
        }
        return checksum;
    }

    /// Makes this the run that may write, unless an earlier one read something else.
    void begin() {
        const std::int64_t state = stateOfSource();
        const std::string identity = inStore("the source", [&] {
            progress_.totalBytes = bytesIn(source_);
            for (const Table& table : tables) {
                highestIds_[table.name] = table.hasIds ? source_.highestId(table.name) : 0;
            }
            const auto row = source_.query("select id from identity");
            return row->next() ? row->text(0) : std::string();
        });
        inStore("the target", [&] {
            Connection& target = target_.database;
            progress_.bytes = bytesIn(target);
            Transaction transaction(target, Access::WRITE);
            // Two that have no row yet to lock.
            target.lock(database::RowLock::CHANGE, "select name from locks where name = 'clean'",
                        {});
            requireSame(identity, state);
            target.execute("delete from migration");
            target.execute("insert into migration values($1, $2, $3)", {run_, identity, state});
            transaction.commit();
        });
    }

    void requireSame(const std::string& identity, std::int64_t state) const {
        const auto begun = target_.database.query("select source, state from migration");
        if (!begun->next()) {
            return;
        }
        if (begun->bytes(0) != identity) {
            throw StoreError(StoreErrorCode::ALREADY_EXISTS,
                             "the target has the beginning of a migration from another store");
        }
        if (begun->integer(1) != state) {
            throw changed();
        }
    }

    static StoreError changed() {
        return {StoreErrorCode::ALREADY_EXISTS,
                "the source has changed since an earlier run copied a part of it: remove the"
                " target, and begin anew"};
    }

    static unsigned long bytesIn(Connection& database) {
        return static_cast<unsigned long>(
            database.number("select coalesce(cast(sum(length(data)) as bigint), 0) from chunks"));
    }

    /// Changes the target, as long as no other run does.
    template <class Work>
    void change(Work work) {
        inStore("the target", [&] {
            Transaction transaction(target_.database, Access::WRITE);
            {
                const auto row = target_.database.lock(database::RowLock::CHANGE,
                                                       "select run from migration", {});
                if (!row->next() || row->integer(0) != run_) {
                    throw StoreError(StoreErrorCode::IN_USE,
                                     "another run has gone on with the migration");
                }
            }
            work();
            transaction.commit();
        });
    }

    void tell(MigrationProgress::Step step, const Table& table, std::size_t rows) {
        progress_.step = step;
        progress_.rows =
            std::exchange(progress_.table, table.name) == table.name ? progress_.rows + rows : rows;
        if (tell_) {
            tell_(progress_);
        }
    }

    void copy(const Table& table) {
        auto last = inStore("the target", [&] { return lastKey(target_.database, table); });
        for (Page page; !(page = read(table, Reading::COPY, last)).empty();) {
            if (table.columns.back().type == CellType::CHUNK) {
                countChunks(page);
            }
            change([&] { insertPage(target_.database, table, page); });
            tell(MigrationProgress::Step::COPYING, table, page.size());
            last = std::move(page.back());
        }
    }

    /// Sees to it that no damaged bytes are copied.
    void countChunks(const Page& page) {
        for (const CopiedRow& chunk : page) {
            const auto& data = std::get<std::string>(chunk.at(2));
            if (checksumOf(data) != std::get<std::int64_t>(chunk.at(1))) {
                throw StoreError(StoreErrorCode::DAMAGED,
                                 "the source is damaged, as verify() shows");
            }
            progress_.bytes += data.size();
        }
    }

    /// Compares row by row.
    MigratedTable compare(const Table& table) {
        MigratedTable compared{table.name};
        std::int64_t checksum = 0;
        std::optional<CopiedRow> last;
        for (;;) {
            Page page = read(table, Reading::SOURCE, last);
            if (page != read(table, Reading::TARGET, last)) {
                throw changed();
            }
            if (page.empty()) {
                break;
            }
            for (const CopiedRow& row : page) {
                checksum = checksumWith(checksum, row);
            }
            compared.rows += page.size();
            tell(MigrationProgress::Step::COMPARING, table, page.size());
            last = std::move(page.back());
        }
        compared.checksum = static_cast<unsigned long>(checksum);
        return compared;
    }

    /// Reads all contents again, and finds what did not fit together in the source either.
    void verifyTarget() {
        tell(MigrationProgress::Step::VERIFYING, tables.back(), 0);
        inStore("the target", [&] {
            Transaction transaction(target_.database, Access::READ);
            verify(target_, [](const FoundDamage& damage) {
                throw StoreError(StoreErrorCode::DAMAGED,
                                 "the source is damaged, as verify() shows: " + damage.sentence);
            });
            transaction.commit();
        });
    }

    void finish() {
        change([&] {
            for (const Table& table : tables) {
                if (table.hasIds) {
                    target_.database.raiseIds(table.name, highestIds_[table.name]);
                }
            }
            target_.database.execute("drop table migration");
            target_.database.execute("update schema_version set n = $1", {database::schemaVersion});
        });
    }

    Connection& source_;
    const Context& target_;
    const std::function<void(const MigrationProgress&)>& tell_;
    const std::int64_t run_ = newNumber();
    MigrationProgress progress_;
    std::map<std::string, std::int64_t> highestIds_;
};

}  // namespace

std::vector<MigratedTable> migrate(const Context& source, const Context& target,
                                   const std::function<void(const MigrationProgress&)>& tell) {
    return Migration(source, target, tell).run();
}

}  // namespace storage::kvxstore
