#pragma once

#include <string>

#include "database/Connection.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore::database {

/// Opens the store in a file, or makes it as the mode allows. Throws a StoreError or DatabaseError,
/// and then leaves alone whatever is there.
Connector openSqliteFile(const std::string& path, CreateMode mode);

/// Makes a store in memory, which lasts as long as the connector and its connections.
Connector openSqliteMemory();

}  // namespace storage::kvxstore::database
