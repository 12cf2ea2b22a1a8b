#pragma once

#include <string>
#include <vector>

#include "database/Connection.h"

struct sqlite3;

namespace storage::kvxstore::database {

/// The room that rebuildFile() needs; empty when the file can give room back as it is.
std::vector<RoomNeed> needsOfRebuild(Connection& connection, sqlite3* handle);

/// Writes the whole file anew, as one that can give room back.
/// REQUIRES: no transaction.
void rebuildFile(Connection& connection);

}  // namespace storage::kvxstore::database
