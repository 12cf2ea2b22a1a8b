#pragma once

#include "core/Context.h"

namespace storage::kvxstore::operations {

/// Counts a change of the bucket and returns its new sequence number. The bytes in use grow by
/// `growth`, which is refused with QUOTA_EXCEEDED when they would exceed the owner's quota.
std::int64_t advance(const Context& context, std::int64_t bucket, std::int64_t growth = 0);

/// Lets the bytes in use grow on the terms of advance(), with no change to count.
void reserve(const Context& context, std::int64_t bucket, std::int64_t growth);

}  // namespace storage::kvxstore::operations
