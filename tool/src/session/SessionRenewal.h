#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "session/LoginFile.h"
#include "session/StoreLocation.h"
#include "storage/kvxclient.h"

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
    /// Counts the sessions: it grows with each renewal.
    unsigned long number() const { return number_; }
    /// When the session is to be renewed.
    std::chrono::system_clock::time_point due() const;
    /// Whether the session ends with the command.
    bool isTemporary() const { return !file_; }
    /// The client or a service of it, which makes calls in the session.
    template <class Service>
    const Service& service() const {
        if constexpr (std::is_same_v<Service, kvxclient::KVXClient>) {
            return *client_;
        } else {
            return *std::get<std::unique_ptr<Service>>(services_);
        }
    }

    /// Replaces the session with the number `over` by another one, once however many ask for it,
    /// and then calls `renewed`, perhaps on a thread of the store. Waits for no call.
    void renew(unsigned long over, Renewed renewed);

private:
    /// The login of another program that was quicker. Throws SessionEnded when there is none any
    /// more.
    std::optional<Login> newerLogin() const;
    void logIn();
    void keep(const Login& login);
    void finish(const std::exception_ptr& error);

    const std::string storeName_;
    const std::shared_ptr<kvxclient::KVXClient> client_;
    const std::tuple<
        std::unique_ptr<kvxclient::FileAccess>, std::unique_ptr<kvxclient::AccessControl>,
        std::unique_ptr<kvxclient::ConfigurationManagement>,
        std::unique_ptr<kvxclient::Notification>, std::unique_ptr<kvxclient::IVersioning>>
        services_;
    std::optional<LoginFile> file_;  // None with KVX_TOKEN.
    std::atomic<unsigned long> number_ = 0;
    mutable std::mutex mutex_;
    Login login_;  // Guarded by mutex_.
    std::vector<Renewed>
        waiting_;  // Guarded by mutex_; while there is one, a renewal is under way.
};

}  // namespace storage::kvxtool
