#pragma once

#include "database/Connection.h"

namespace storage::kvxstore {

/// Does a small part of all cleaning: handles without a lease, the trash, unused contents, expired
/// sessions and download locations. Returns whether there may be more. Waits for its turn, or with
/// IF_FREE does nothing while another program cleans.
bool clean(database::Connection& database, std::int64_t instance, std::int64_t now,
           database::RowLock turn = database::RowLock::IF_FREE);

}  // namespace storage::kvxstore
