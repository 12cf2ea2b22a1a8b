#pragma once

#include <string_view>

#include "database/Connection.h"

namespace storage::kvxstore {

// An instance, one opening of the store by one program, has a lease while it has open handles. An
// instance that does not renew its lease within a minute loses them.

/// `now` is the process's clock; the database's own holds where it has one.
void renewLease(database::Connection& database, std::int64_t instance, std::int64_t now);

/// Whether the instance has open handles, and so has to renew its lease.
bool hasHandles(database::Connection& database, std::int64_t instance);

/// Deletes a handle without its changes. Its contents become garbage unless something else uses
/// them, and stop counting where nothing does.
void deleteHandle(database::Connection& database, std::string_view hash);

/// Closes the handles whose lease or whose user's last session has expired, without their changes.
void closeLostHandles(database::Connection& database, std::int64_t now);

}  // namespace storage::kvxstore
