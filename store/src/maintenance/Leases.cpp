#include "maintenance/Leases.h"

#include <chrono>
#include <string>

#include "namespace/Charges.h"

namespace storage::kvxstore {

namespace {

constexpr std::chrono::nanoseconds leaseDuration = std::chrono::seconds(60);

}  // namespace

void renewLease(database::Connection& database, std::int64_t instance, std::int64_t now) {
    database.execute(
        "insert into instances(id, heartbeat) values($1, $2)"
        " on conflict(id) do update set heartbeat = excluded.heartbeat",
        {instance, now});
}

bool hasHandles(database::Connection& database, std::int64_t instance) {
    return database.query("select 1 from handles where instance = $1 limit 1", {instance})->next();
}

void deleteHandle(database::Connection& database, std::string_view hash) {
    database.execute(
        "update buckets set used = used - (select c.stored from handles h"
        " join contents c on c.id = h.work where h.hash = $1)"
        " where id = (select bucket from handles where hash = $1 and work <> 0)",
        {database::Blob{hash}});
    const auto charged = addGarbage(database,
                                    "select base from handles where hash = $1 and base <> 0"
                                    " union select work from handles where hash = $1 and work <> 0",
                                    {database::Blob{hash}});
    database.execute("delete from handles where hash = $1", {database::Blob{hash}});
    releaseCharges(database, charged);
}

void closeLostHandles(database::Connection& database, std::int64_t instance, std::int64_t now) {
    if (hasHandles(database, instance)) {
        renewLease(database, instance, now);
    }
    const auto lost = collect(
        database.query("select hash from handles h where not exists(select 1 from instances i"
                       " where i.id = h.instance and i.heartbeat > $1) or not exists(select 1"
                       " from sessions s where s.owner = h.owner and s.expires > $2)",
                       {now - leaseDuration.count(), now}),
        [](const auto& row) { return row.text(0); });
    for (const std::string& hash : lost) {
        deleteHandle(database, hash);
    }
    database.execute(
        "delete from instances where heartbeat <= $1"
        " or not exists(select 1 from handles where instance = instances.id)",
        {now - leaseDuration.count()});
}

}  // namespace storage::kvxstore
