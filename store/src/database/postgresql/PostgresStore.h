#pragma once

#include <chrono>
#include <string>

#include "database/Connection.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore::database {

/// Connects to the store in the schema that a URL of a database server names, or makes it as the
/// mode allows. No message has any of the URL's password or query.
Connector openPostgres(const std::string& url, CreateMode mode,
                       std::chrono::milliseconds lockPatience, Purpose purpose);

}  // namespace storage::kvxstore::database
