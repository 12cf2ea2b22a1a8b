#pragma once

#include "core/Context.h"

namespace storage::kvxstore {

/// Counts a change of the bucket and returns the bucket's new sequence number. The bytes in use
/// grow by `growth`; growth beyond the owner's quota is refused with QUOTA_EXCEEDED. `replaced` is
/// a node that the caller has just put into the trash, and which may have to make room; 0 for none.
///
/// Throws a scheduler::Postponement when purging what the owner deleted before would make room.
std::int64_t advance(const Context& context, std::int64_t bucket, std::int64_t growth = 0,
                     std::int64_t replaced = 0);

/// As advance(), for a change that concerns one file, and no folder, right or grant.
std::int64_t advanceFile(const Context& context, std::int64_t bucket, std::int64_t growth = 0);

/// As advance(), but counts no change.
void reserve(const Context& context, std::int64_t bucket, std::int64_t growth);

}  // namespace storage::kvxstore
