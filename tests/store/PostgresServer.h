#pragma once

#include <memory>
#include <string>
#include <vector>

namespace storage::kvxstore {

/// Whether stores lie on the server that KVXSTORE_TEST_POSTGRES names, and not in files.
bool isOnServer();

/// The URL of a new schema on that server. It is dropped when the program ends.
std::string newSchema();

/// Lets no write of a store on that server begin for the life of the result.
std::shared_ptr<void> holdWriters(const std::string& storeUrl);

/// Runs a statement on that server, and returns the first column of the rows.
std::vector<std::string> onServer(const std::string& sql);

}  // namespace storage::kvxstore
