#pragma once

#include "database/Connection.h"

namespace storage::kvxstore::database {

/// The version of the schema that this code writes and reads.
constexpr std::int64_t schemaVersion = 2;

/// Makes all tables.
/// REQUIRES: an empty database and a transaction.
void createSchema(Connection& connection);

/// Brings tables of an earlier version to the present one.
/// REQUIRES: a transaction for writing.
void upgradeSchema(Connection& connection);

}  // namespace storage::kvxstore::database
