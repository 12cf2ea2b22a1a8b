#pragma once

#include <functional>
#include <memory>
#include <string>

#include "database/Connection.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore::database {

/// Makes one more connection to an opened database; the database lives as long as one of them.
using Connector = std::function<std::unique_ptr<Connection>()>;

/// Opens the store that a URL of the scheme "sqlite" names, or makes it as the mode allows.
/// Throws a StoreError, and then leaves alone whatever is there.
Connector openSqlite(const std::string& url, CreateMode mode);

}  // namespace storage::kvxstore::database
