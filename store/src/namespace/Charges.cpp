#include "namespace/Charges.h"

#include <string>

namespace storage::kvxstore {

std::int64_t discardVersions(database::Connection& database, std::int64_t node, std::int64_t bucket,
                             const Labels& labels, std::int64_t kept) {
    std::int64_t charged = 0;
    const auto discarded = database.query(
        "insert into garbage(content, bucket, charge) select v.content, $2, case when"
        " (exists(select 1 from handles where base = v.content)"
        " or exists(select 1 from downloads where content = v.content))"
        " and not exists(select 1 from versions o where o.content = v.content"
        " and (o.node <> $1 or o.label < $3 or o.label > $4))"
        " then coalesce((select size from contents where id = v.content), 0) else 0 end"
        " from versions v where v.node = $1 and v.label between $3 and $4 and v.content <> $5"
        // Each content once, though several versions may have it.
        " and not exists(select 1 from versions o where o.content = v.content and o.node = $1"
        " and o.label >= $3 and o.label < v.label)"
        " on conflict(content) do update set bucket = excluded.bucket, charge = excluded.charge,"
        " held = 0 where garbage.charge = 0 returning charge",
        {node, bucket, labels.first, labels.last, kept});
    while (discarded->next()) {
        charged += discarded->integer(0);
    }
    database.execute("delete from versions where node = $1 and label between $2 and $3",
                     {node, labels.first, labels.last});
    return charged;
}

std::vector<std::int64_t> addGarbage(database::Connection& database, std::string_view selection,
                                     std::initializer_list<database::Value> values) {
    std::string sql = "insert into garbage(content) ";
    sql.append(selection).append(
        " on conflict(content) do update set held = 0 returning content, charge");
    std::vector<std::int64_t> charged;
    const auto added = database.query(sql, values);
    while (added->next()) {
        if (added->integer(1) > 0) {
            charged.push_back(added->integer(0));
        }
    }
    return charged;
}

void endCharge(database::Connection& database, std::int64_t content) {
    database.execute(
        "update buckets set used = used - (select charge from garbage where content = $1)"
        " where id = (select bucket from garbage where content = $1)",
        {content});
    database.execute("update garbage set charge = 0 where content = $1", {content});
}

void releaseCharges(database::Connection& database, const std::vector<std::int64_t>& contents) {
    for (const std::int64_t content : contents) {
        if (database.number("select exists(select 1 from handles where base = $1)"
                            " or exists(select 1 from downloads where content = $1)",
                            {content}) == 0) {
            endCharge(database, content);
        }
    }
}

bool hasExpiredDownloads(database::Connection& database, std::int64_t now) {
    return database.query("select 1 from downloads where expires <= $1 limit 1", {now})->next();
}

void deleteExpiredDownloads(database::Connection& database, std::int64_t now) {
    const auto charged =
        addGarbage(database, "select distinct content from downloads where expires <= $1", {now});
    database.execute("delete from downloads where expires <= $1", {now});
    releaseCharges(database, charged);
}

}  // namespace storage::kvxstore
