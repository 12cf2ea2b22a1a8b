#pragma once

#include "core/Context.h"

namespace storage::kvxstore {

/// Gives a few of the contents that were stored before contents had checksums theirs, beginning
/// after the content `last`, which it moves on. Damaged ones stay as they are, for verify() to
/// find. Returns whether there may be more.
bool addChecksums(const Context& context, std::int64_t& last);

}  // namespace storage::kvxstore
