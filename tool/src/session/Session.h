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

/// KVX_TOKEN, where it is set.
std::optional<std::string> tokenOfEnvironment();

/// Logs in with a token and keeps token and session for the commands to come.
void keepLogin(kvxclient::KVXClient& client, const StoreLocation& location,
               const std::string& token);

/// Forgets token and session, and ends the session.
void dropLogin(const StoreLocation& location);

/// A session of the user with a store. A thread renews it before it ends.
class Session {
public:
    /// Logs in with KVX_TOKEN until the end, or else takes up the session that is kept for the
    /// store; when that one is over, it is replaced with the token that is kept.
    explicit Session(const StoreLocation& location);
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
    void start(const StoreLocation& location);
    void use(const Login& login);
    bool isOver() const;
    void renew();
    void keepAlive(const std::stop_token& stop);

    std::vector<std::filesystem::path> storeFiles_;
    std::unique_ptr<kvxclient::KVXClient> client_;
    std::unique_ptr<kvxclient::FileAccess> files_;
    std::unique_ptr<kvxclient::AccessControl> sharing_;
    std::unique_ptr<kvxclient::ConfigurationManagement> configuration_;
    std::unique_ptr<kvxclient::Notification> notifications_;
    std::unique_ptr<kvxclient::IVersioning> versions_;
    std::optional<LoginFile> file_;  // None with KVX_TOKEN.
    Login login_;
    std::jthread renewal_;
};

}  // namespace storage::kvxtool
