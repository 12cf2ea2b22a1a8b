#pragma once

#include <memory>
#include <string>

#include "session/StoreLocation.h"
#include "storage/kvxstore/Store.h"

namespace storage::kvxtool {

/// Opens a store that exists, to administer it. Throws Failure when it cannot, as for a server's.
std::shared_ptr<kvxstore::Store> openStore(const StoreLocation& location);

/// Makes a client of a store that exists, or of the server that serves it. Throws Failure when it
/// cannot.
std::unique_ptr<kvxclient::KVXClient> openClient(const StoreLocation& location);

/// Creates a store with one user, keeps the user's login, and returns the token. Throws with
/// nothing left behind when it cannot.
std::string createStore(const StoreLocation& location, const std::u16string& user);

}  // namespace storage::kvxtool
