#pragma once

#include "database/Connection.h"

namespace storage::kvxstore::database {

/// The version of the schema that this code writes and reads.
constexpr std::int64_t schemaVersion = 1;

/// Makes all tables in an empty database, inside the caller's transaction.
void createSchema(Connection& connection);

/// Adds what a store made by an earlier version of this software does not have, so that both can
/// use it, inside the caller's transaction.
void completeSchema(Connection& connection);

}  // namespace storage::kvxstore::database
