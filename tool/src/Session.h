#pragma once

#include <memory>

#include "StoreLocation.h"
#include "storage/kvxclient.h"

namespace storage::kvxtool {

/// Makes a client of the store. The one place that knows what store is behind the interface.
std::unique_ptr<kvxclient::KVXClient> openStore(const StoreLocation& location);

/// Creates a store with one user, and returns the user's token. Throws Failure, with nothing left
/// behind, when it cannot.
std::string createStore(const StoreLocation& location, const std::u16string& user);

/// A session of the user with a store: logged in while it lives.
class Session {
public:
    /// Logs in with KVX_TOKEN, or with the token kept for the store.
    explicit Session(const StoreLocation& location);
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    const kvxclient::FileAccess& files() const { return *files_; }
    const kvxclient::AccessControl& rights() const { return *rights_; }
    const kvxclient::ConfigurationManagement& configuration() const { return *configuration_; }
    const kvxclient::Notification& notifications() const { return *notifications_; }
    const kvxclient::IVersioning& versions() const { return *versions_; }

private:
    std::unique_ptr<kvxclient::KVXClient> client_;
    std::unique_ptr<kvxclient::FileAccess> files_;
    std::unique_ptr<kvxclient::AccessControl> rights_;
    std::unique_ptr<kvxclient::ConfigurationManagement> configuration_;
    std::unique_ptr<kvxclient::Notification> notifications_;
    std::unique_ptr<kvxclient::IVersioning> versions_;
};

}  // namespace storage::kvxtool
