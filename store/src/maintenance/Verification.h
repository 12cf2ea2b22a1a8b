#pragma once

#include <string_view>

#include "maintenance/Damages.h"

namespace storage::kvxstore {

/// Finds the buckets that count their bytes in use wrong: 0, what to call the bucket, its id, and
/// the bytes that are in use.
constexpr std::string_view miscountedBuckets =
    "select 0, 'the bucket ' || b.name, b.id, b.bytes from (select id, name, used,"
    " (select coalesce(cast(sum(c.size) as bigint), 0) from nodes n"
    " join versions v on v.node = n.id join contents c on c.id = v.content"
    " where n.bucket = buckets.id) + (select coalesce(cast(sum(c.stored) as bigint), 0)"
    " from handles h join contents c on c.id = h.work where h.bucket = buckets.id)"
    " + coalesce(g.charge, 0) as bytes from buckets left join (select bucket,"
    " cast(sum(charge) as bigint) as charge from charges group by bucket) g"
    " on g.bucket = buckets.id) b where b.used <> b.bytes";

/// Checks everything and tells each damage, in bounded memory.
void verify(const Context& context, const Damages::Tell& tell);

}  // namespace storage::kvxstore
