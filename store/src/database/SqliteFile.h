#pragma once

#include <string>

#include "database/Connection.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore::database {

/// Opens the store that a URL of the scheme "sqlite" names, or makes it as the mode allows.
/// Throws a StoreError, and then leaves alone whatever is there.
Connector openSqlite(const std::string& url, CreateMode mode);

}  // namespace storage::kvxstore::database
