#include "namespace/Usage.h"

#include <utility>

#include "namespace/Charges.h"
#include "namespace/Deletion.h"
#include "scheduler/Postponement.h"

namespace storage::kvxstore {

namespace {

struct Growth {
    std::int64_t bucket = 0;
    BucketStep step;
};

struct Room {
    std::int64_t owner = 0;
    std::int64_t quota = 0;
    std::int64_t used = 0;

    std::int64_t free() const { return quota - used; }
};

/// The room of the bucket's owner, which no other transaction fills meanwhile.
Room roomIn(const Context& context, std::int64_t bucket) {
    const BucketRow* const row = context.database.buckets().find(bucket);
    if (row == nullptr) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    const database::OwnerRow& owner = context.database.buckets().ownerOf(*row);
    Room room{row->owner, owner.quota, row->used};
    if (owner.hasOthers && std::cmp_less(room.quota, NewUser::UNLIMITED)) {
        context.database.buckets().write();
        room.used = context.database.number(
            "select cast(sum(used) as bigint) from buckets where owner = $1", {room.owner});
    }
    return room;
}

bool grow(const Context& context, const Growth& growth) {
    if (growth.step.bytes > 0 && growth.step.bytes > roomIn(context, growth.bucket).free()) {
        return false;
    }
    context.database.buckets().find(growth.bucket);
    context.database.buckets().count(growth.bucket, growth.step);
    return true;
}

/// What is in the way of a growth: bytes of this user.
struct Shortage {
    std::int64_t user = 0;
    std::int64_t bytes = 0;
};

/// Refuses growth that no purge can make room for.
Shortage shortageOf(const Context& context, const Growth& growth) {
    const Room room = roomIn(context, growth.bucket);
    if (growth.step.bytes > room.quota) {
        refuse(ErrorCode::QUOTA_EXCEEDED);
    }
    const Shortage shortage{room.owner, growth.step.bytes - room.free()};
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
    growOrRefuse(context, {bucket, {growth, 1, 1}}, replaced);
    return context.database.buckets().find(bucket)->seq;
}

std::int64_t advanceFile(const Context& context, std::int64_t bucket, std::int64_t growth) {
    growOrRefuse(context, {bucket, {growth, 1, 0}}, 0);
    return context.database.buckets().find(bucket)->seq;
}

void reserve(const Context& context, std::int64_t bucket, std::int64_t growth) {
    growOrRefuse(context, {bucket, {growth, 0, 0}}, 0);
}

}  // namespace storage::kvxstore
