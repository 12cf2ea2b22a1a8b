#include "namespace/Usage.h"

#include "namespace/Charges.h"
#include "namespace/Deletion.h"
#include "scheduler/Postponement.h"

namespace storage::kvxstore {

namespace {

struct Growth {
    std::int64_t bucket = 0;
    std::int64_t bytes = 0;
    std::int64_t changes = 0;
};

bool grow(const Context& context, const Growth& growth) {
    return context.database.execute(
               "update buckets set seq = seq + $3, used = used + $2 where id = $1 and ($2 <= 0 or "
               "$2 <="
               " (select u.quota - (select cast(sum(b.used) as bigint) from buckets b"
               " where b.owner = u.id) from users u where u.id = buckets.owner))",
               {growth.bucket, growth.bytes, growth.changes}) > 0;
}

/// What is in the way of a growth: bytes of this user.
struct Shortage {
    std::int64_t user = 0;
    std::int64_t bytes = 0;
};

/// Refuses growth that no purge can make room for.
Shortage shortageOf(const Context& context, const Growth& growth) {
    const auto row = context.database.query(
        "select b.owner, u.quota, (select cast(sum(o.used) as bigint) from buckets o"
        " where o.owner = b.owner) from buckets b join users u on u.id = b.owner where b.id = $1",
        {growth.bucket});
    if (!row->next() || growth.bytes > row->integer(1)) {
        refuse(ErrorCode::QUOTA_EXCEEDED);
    }
    const std::int64_t free = row->integer(1) - row->integer(2);
    const Shortage shortage{row->integer(0), growth.bytes - free};
    if (bytesInTrash(context.database, shortage.user, shortage.bytes) < shortage.bytes &&
        !hasExpiredDownloads(context.database, context.now())) {
        refuse(ErrorCode::QUOTA_EXCEEDED);
    }
    return shortage;
}

/// Frees so many bytes, or what there is to be freed.
[[noreturn]] void freeFirst(const Context& context, Shortage shortage) {
    throw scheduler::Postponement{
        [shortage, now = context.now()](database::Connection& database) mutable {
            if (hasExpiredDownloads(database, now)) {
                deleteExpiredDownloads(database, now);
            }
            const Purge purge = purgeTrashOf(database, shortage.user);
            shortage.bytes -= purge.bytes;
            return purge.more && shortage.bytes > 0;
        }};
}

/// Deleted files count until they are purged, so they may be what is in the way.
void growOrRefuse(const Context& context, const Growth& growth, std::int64_t replaced) {
    if (grow(context, growth)) {
        return;
    }
    Shortage shortage = shortageOf(context, growth);
    if (replaced != 0) {
        // It is deleted for this growth alone, and so has to go in the same transaction.
        purgeTree(context.database, replaced);
        if (grow(context, growth)) {
            return;
        }
        shortage = shortageOf(context, growth);
    }
    freeFirst(context, shortage);
}

}  // namespace

std::int64_t advance(const Context& context, std::int64_t bucket, std::int64_t growth,
                     std::int64_t replaced) {
    growOrRefuse(context, {bucket, growth, 1}, replaced);
    return context.database.number("select seq from buckets where id = $1", {bucket});
}

void reserve(const Context& context, std::int64_t bucket, std::int64_t growth) {
    growOrRefuse(context, {bucket, growth, 0}, 0);
}

}  // namespace storage::kvxstore
