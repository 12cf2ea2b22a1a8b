#pragma once

#include <cstdint>
#include <string>

namespace storage::kvxstore::database {

// What can be told of a file without opening it as a database.

constexpr std::uint32_t applicationId = 0x4B565853;  // "KVXS"

/// A URI that names the file to SQLite, for parameters to follow. It may stand in a quoted text.
/// REQUIRES: an absolute path.
std::string fileUri(const std::string& path);

/// Whether the file begins like a store. Looks at the head alone, because the rest may still need
/// recovery from a crash.
bool hasStoreHead(const std::string& path);

/// Whether a journal waits to undo a transaction that was cut short, such as the store's creation.
bool awaitsRollback(const std::string& path);

}  // namespace storage::kvxstore::database
