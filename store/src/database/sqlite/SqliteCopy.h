#pragma once

#include <string>

struct sqlite3;

namespace storage::kvxstore::database {

/// Copies one of a connection's databases, as its transaction sees it, into an empty file. Throws a
/// DatabaseError.
void copyDatabase(sqlite3* source, const char* schema, const std::string& path);

}  // namespace storage::kvxstore::database
