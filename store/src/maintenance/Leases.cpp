#include "maintenance/Leases.h"

#include <chrono>
#include <string>
#include <vector>

#include "namespace/Charges.h"

namespace storage::kvxstore {

namespace {

constexpr std::chrono::nanoseconds leaseDuration = std::chrono::seconds(60);
constexpr std::chrono::nanoseconds leaseRenewal = std::chrono::seconds(10);

}  // namespace

void renewLease(database::Connection& database, std::int64_t instance, std::int64_t now) {
    now = database.serverTime().value_or(now);
    // Calls that open handles at a time would wait for each other's row.
    database.post(
        "insert into instances(id, heartbeat) select $1, $2 where not exists"
        "(select 1 from instances where id = $1 and heartbeat between $3 and $2)"
        " on conflict(id) do update set heartbeat = excluded.heartbeat",
        {instance, now, now - leaseRenewal.count()});
}

bool hasHandles(database::Connection& database, std::int64_t instance) {
    return database.query("select 1 from handles where instance = $1 limit 1", {instance})->next();
}

void deleteHandle(database::Connection& database, std::string_view hash) {
    std::vector<std::int64_t> contents;
    {
        const auto row = database.query(
            "select h.bucket, h.base, h.work, coalesce(c.stored, 0) from handles h"
            " left join contents c on c.id = h.work where h.hash = $1",
            {database::Blob{hash}});
        if (!row->next()) {
            return;
        }
        if (row->integer(3) != 0 && database.buckets().find(row->integer(0)) != nullptr) {
            database.buckets().count(row->integer(0), {-row->integer(3), 0, 0});
        }
        contents = {row->integer(1), row->integer(2)};
    }
    std::erase(contents, 0);
    for (const std::int64_t content : contents) {
        database.post("insert into garbage(content) values($1)", {content});
    }
    database.post("delete from handles where hash = $1", {database::Blob{hash}});
    for (const std::int64_t content : contents) {
        endCharge(database, content);
    }
}

void closeLostHandles(database::Connection& database, std::int64_t now) {
    const std::int64_t lease = database.serverTime().value_or(now);
    std::vector<std::string> lost;
    std::vector<std::int64_t> buckets;
    {
        const auto rows = database.query(
            "select hash, bucket from handles h where not exists(select 1 from instances i"
            " where i.id = h.instance and i.heartbeat > $1) or not exists(select 1"
            " from sessions s where s.owner = h.owner and s.expires > $2)",
            {lease - leaseDuration.count(), now});
        while (rows->next()) {
            lost.push_back(rows->text(0));
            buckets.push_back(rows->integer(1));
        }
    }
    database.buckets().need(buckets);
    for (const std::string& hash : lost) {
        deleteHandle(database, hash);
    }
    // One without handles may be getting its first one now.
    database.post("delete from instances where heartbeat <= $1", {lease - leaseDuration.count()});
}

}  // namespace storage::kvxstore
