#include "namespace/Usage.h"

#include "namespace/Deletion.h"

namespace storage::kvxstore {

namespace {

bool grow(const Context& context, std::int64_t bucket, std::int64_t growth, std::int64_t changes) {
    return context.database.execute(
               "update buckets set seq = seq + $3, used = used + $2 where id = $1 and ($2 <= 0 or "
               "$2 <="
               " (select u.quota - (select cast(sum(b.used) as bigint) from buckets b"
               " where b.owner = u.id) from users u where u.id = buckets.owner))",
               {bucket, growth, changes}) > 0;
}

void growOrRefuse(const Context& context, std::int64_t bucket, std::int64_t growth,
                  std::int64_t changes) {
    if (grow(context, bucket, growth, changes)) {
        return;
    }
    // Deleted files count until they are purged, so the trash may be what is in the way.
    while (purgeTrash(context.database)) {
    }
    if (!grow(context, bucket, growth, changes)) {
        refuse(ErrorCode::QUOTA_EXCEEDED);
    }
}

}  // namespace

std::int64_t advance(const Context& context, std::int64_t bucket, std::int64_t growth) {
    growOrRefuse(context, bucket, growth, 1);
    return context.database.number("select seq from buckets where id = $1", {bucket});
}

void reserve(const Context& context, std::int64_t bucket, std::int64_t growth) {
    growOrRefuse(context, bucket, growth, 0);
}

}  // namespace storage::kvxstore
