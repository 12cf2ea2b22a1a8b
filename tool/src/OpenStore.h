#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "StoreLocation.h"
#include "storage/kvxclient/KVXClient.h"

namespace storage::kvxstore {
class Store;
}

namespace storage::kvxtool {

// The one place that knows what store is behind the interface.

/// Makes a client of the store.
std::unique_ptr<kvxclient::KVXClient> openStore(const StoreLocation& location);

/// Creates a store with one user, keeps the user's login, and returns the token. Throws Failure,
/// with nothing left behind, when it cannot.
std::string createStore(const StoreLocation& location, const std::u16string& user);

}  // namespace storage::kvxtool
