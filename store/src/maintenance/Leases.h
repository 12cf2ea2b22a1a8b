#pragma once

#include <string_view>

#include "database/Connection.h"

namespace storage::kvxstore::operations {

// Open handles live by the lease of the instance of the store that opened them. An instance that
// does not renew its lease in time loses its handles.

/// Lets the instance's handles live for another minute.
void renewLease(database::Connection& database, std::int64_t instance, std::int64_t now);

/// Whether the instance has open handles, and so must renew its lease.
bool hasHandles(database::Connection& database, std::int64_t instance);

/// Deletes a handle, without its changes. Its contents become garbage unless something else uses
/// them.
void deleteHandle(database::Connection& database, std::string_view hash);

/// Renews the lease of the instance if it needs one, and closes the handles whose lease or whose
/// user's last session has expired.
void closeLostHandles(database::Connection& database, std::int64_t instance, std::int64_t now);

}  // namespace storage::kvxstore::operations
