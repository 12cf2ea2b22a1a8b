#pragma once

#include <chrono>
#include <string>

#include "database/Connection.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore::database {

/// Opens the store in a file, or makes it as the mode allows. Fails as open() does.
Connector openSqliteFile(const std::string& path, const std::string& url, CreateMode mode,
                         std::chrono::milliseconds lockPatience, Purpose purpose);

/// Makes a store in memory. It lasts as long as the connector and its connections.
Connector openSqliteMemory(const std::string& url);

}  // namespace storage::kvxstore::database
