#pragma once

#include "database/Connection.h"

namespace storage::kvxstore {

/// Does a small part of all cleaning: handles without a lease, the trash, unused contents, expired
/// sessions and download locations. Returns whether there may be more.
bool clean(database::Connection& database, std::int64_t instance, std::int64_t now);

}  // namespace storage::kvxstore
