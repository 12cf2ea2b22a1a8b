#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "session/LoginFile.h"
#include "session/StoreLocation.h"
#include "storage/kvxclient.h"

namespace storage::kvxtool {

class SessionRenewal;

/// KVX_TOKEN, where it is set.
std::optional<std::string> tokenOfEnvironment();

/// Logs in with a token, for a session that is renewed well before it ends.
Login logIn(const kvxclient::KVXClient& client, const std::string& token);
Login loginOf(const kvxclient::LoginResponse& response, const std::string& token);

/// Logs in with a token and keeps token and session for the commands to come.
void keepLogin(const kvxclient::KVXClient& client, const StoreLocation& location,
               const std::string& token);

/// Forgets token and session, and ends the session.
void dropLogin(const StoreLocation& location);

/// A session of the user with a store: with KVX_TOKEN until the end, or else the one that is kept
/// for the store. It is renewed when a call is answered that it is over, and by a thread before it
/// ends: open file handles need one all the time.
class Session {
public:
    explicit Session(const StoreLocation& location);
    /// Every call must have ended.
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The files of the store, where it is kept in files.
    const std::vector<std::filesystem::path>& storeFiles() const { return storeFiles_; }

    const kvxclient::FileAccess& files() const { return *files_; }
    const kvxclient::AccessControl& sharing() const { return *sharing_; }
    const kvxclient::ConfigurationManagement& configuration() const { return *configuration_; }
    const kvxclient::Notification& notifications() const { return *notifications_; }
    const kvxclient::IVersioning& versions() const { return *versions_; }

private:
    void keepAlive(const std::stop_token& stop);

    std::vector<std::filesystem::path> storeFiles_;
    std::shared_ptr<kvxclient::KVXClient> store_;
    std::unique_ptr<SessionRenewal> renewal_;
    std::unique_ptr<kvxclient::FileAccess> files_;
    std::unique_ptr<kvxclient::AccessControl> sharing_;
    std::unique_ptr<kvxclient::ConfigurationManagement> configuration_;
    std::unique_ptr<kvxclient::Notification> notifications_;
    std::unique_ptr<kvxclient::IVersioning> versions_;
    std::jthread keeper_;
};

}  // namespace storage::kvxtool
