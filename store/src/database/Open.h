#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "database/Connection.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore::database {

/// The URL as people may see it: without a password and without the query.
std::string shownUrl(const std::string& url);

/// The path of the file that a store's URL names, as it stands there, or nothing for a store in
/// memory or on a server. Throws a StoreError with ILLEGAL_URL for any other URL.
std::optional<std::string> filePath(const std::string& url);

/// The numbers that suit the store's database.
Threads threadsFor(const std::string& url);

/// Opens the store that a URL names, or makes it as the mode allows. A failure throws a StoreError
/// or DatabaseError and changes nothing that was there. The connections wait for locks of other
/// programs as long as the patience says.
Connector open(const std::string& url, CreateMode mode, std::chrono::milliseconds lockPatience,
               Purpose purpose = Purpose::USE);

}  // namespace storage::kvxstore::database
