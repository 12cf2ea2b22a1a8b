#pragma once

#include "core/Context.h"

namespace storage::kvxstore::operations {

/// The user whose session it is; refuses when there is no valid one.
std::int64_t requireUser(const Context& context);

}  // namespace storage::kvxstore::operations
