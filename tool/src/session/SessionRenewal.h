#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "session/LoginFile.h"
#include "session/StoreLocation.h"
#include "storage/kvxclient/KVXClient.h"
#include "storage/kvxtransport/ClientDispatcher.h"

namespace storage::kvxtool {

/// The login behind a session, which is replaced when the session is over. Any thread may call any
/// member.
class SessionRenewal {
public:
    /// Called when a renewal has ended, with the reason when it failed.
    using Renewed = std::function<void(const std::exception_ptr& error)>;

    /// Logs in with KVX_TOKEN, or else takes up the login that is kept for the store. Throws when
    /// there is none.
    SessionRenewal(const StoreLocation& location, std::shared_ptr<kvxclient::KVXClient> client);

    std::string sessionId() const;
    /// When the session is to be renewed.
    std::chrono::system_clock::time_point due() const;
    /// Whether the session ends with the command.
    bool isTemporary() const { return !file_; }
    const kvxtransport::ClientDispatcher& store() const { return store_; }

    /// Replaces the session that is over by another one, once however many ask for it, and then
    /// calls `renewed`, perhaps on a thread of the store. Waits for no call.
    void renew(const std::string& over, Renewed renewed);

private:
    /// The login of another program that was quicker. Throws SessionEnded when there is none any
    /// more.
    std::optional<Login> newerLogin() const;
    void logIn();
    void keep(const Login& login);
    void finish(const std::exception_ptr& error);

    const std::string storeName_;
    const std::shared_ptr<kvxclient::KVXClient> client_;
    const kvxtransport::ClientDispatcher store_;
    std::optional<LoginFile> file_;  // None with KVX_TOKEN.
    mutable std::mutex mutex_;
    Login login_;  // Guarded by mutex_.
    std::vector<Renewed>
        waiting_;  // Guarded by mutex_; while there is one, a renewal is under way.
};

}  // namespace storage::kvxtool
