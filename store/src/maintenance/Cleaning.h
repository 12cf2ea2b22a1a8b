#pragma once

#include "database/Connection.h"

namespace storage::kvxstore::operations {

/// Does a small part of all cleaning: the trash, contents without a user, lost handles, expired
/// sessions and download locations. Returns whether there may be more.
bool clean(database::Connection& database, std::int64_t instance, std::int64_t now);

}  // namespace storage::kvxstore::operations
