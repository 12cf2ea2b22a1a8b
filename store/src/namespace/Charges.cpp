#include "namespace/Charges.h"

namespace storage::kvxstore {

std::int64_t discardVersions(database::Connection& database, std::int64_t node, std::int64_t bucket,
                             const Labels& labels, std::int64_t kept) {
    std::int64_t charged = 0;
    {
        const auto charges = database.query(
            "insert into charges(content, bucket, charge) select c.id, $2, c.size from contents c"
            " where c.id in (select content from versions where node = $1"
            " and label between $3 and $4) and c.id <> $5 and c.size > 0"
            " and (exists(select 1 from handles where base = c.id)"
            " or exists(select 1 from downloads where content = c.id))"
            " and not exists(select 1 from versions o where o.content = c.id"
            " and (o.node <> $1 or o.label < $3 or o.label > $4))"
            " on conflict(content) do nothing returning charge",
            {node, bucket, labels.first, labels.last, kept});
        while (charges->next()) {
            charged += charges->integer(0);
        }
    }
    database.post(
        "insert into garbage(content) select content from versions where node = $1"
        " and label between $2 and $3 and content <> $4",
        {node, labels.first, labels.last, kept});
    database.post("delete from versions where node = $1 and label between $2 and $3",
                  {node, labels.first, labels.last});
    return charged;
}

void endCharge(database::Connection& database, std::int64_t content) {
    const auto row = database.query(
        "select bucket, charge from charges where content = $1"
        " and not exists(select 1 from handles where base = $1)"
        " and not exists(select 1 from downloads where content = $1)",
        {content});
    if (!row->next()) {
        return;
    }
    // The bucket may have been deleted.
    if (database.buckets().find(row->integer(0)) != nullptr) {
        database.buckets().count(row->integer(0), {-row->integer(1), 0, 0});
    }
    database.post("delete from charges where content = $1", {content});
}

bool hasExpiredDownloads(database::Connection& database, std::int64_t now) {
    return database.query("select 1 from downloads where expires <= $1 limit 1", {now})->next();
}

void deleteExpiredDownloads(database::Connection& database, std::int64_t now) {
    std::vector<std::int64_t> charged;
    std::vector<std::int64_t> buckets;
    {
        const auto expired = database.query(
            "select c.content, c.bucket from charges c where exists(select 1 from downloads d"
            " where d.content = c.content and d.expires <= $1)",
            {now});
        while (expired->next()) {
            charged.push_back(expired->integer(0));
            buckets.push_back(expired->integer(1));
        }
    }
    database.buckets().need(buckets);
    database.post("insert into garbage(content) select content from downloads where expires <= $1",
                  {now});
    database.post("delete from downloads where expires <= $1", {now});
    for (const std::int64_t content : charged) {
        endCharge(database, content);
    }
}

}  // namespace storage::kvxstore
