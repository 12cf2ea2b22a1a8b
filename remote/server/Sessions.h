#pragma once

/// @file
/// Clients of the transport that is served, one for each session and identity.

#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include "storage/kvxclient.h"

namespace storage::kvxserver {

/// Who makes a call, as its headers say.
struct Identity {
    std::string session;
    std::string application;
    std::string origin;
    std::string client;
    std::string clientType;

    auto operator<=>(const Identity&) const = default;
};

/// A client with its services.
class SessionClient {
public:
    SessionClient(std::unique_ptr<kvxclient::KVXClient> client, const Identity& identity);

    template <class Service>
    const Service& service() const {
        if constexpr (std::is_same_v<Service, kvxclient::KVXClient>) {
            return *client_;
        } else {
            return *std::get<std::unique_ptr<Service>>(services_);
        }
    }

private:
    const std::unique_ptr<kvxclient::KVXClient> client_;
    std::tuple<std::unique_ptr<kvxclient::FileAccess>, std::unique_ptr<kvxclient::AccessControl>,
               std::unique_ptr<kvxclient::ConfigurationManagement>,
               std::unique_ptr<kvxclient::Notification>, std::unique_ptr<kvxclient::IVersioning>>
        services_;
};

/// Keeps clients for later calls, and whose sessions they are. Any thread may call any member.
class Sessions {
public:
    static constexpr std::size_t mostClients = 10'000;
    static constexpr std::size_t mostUsers = 65'536;
    using Factory = std::function<std::unique_ptr<kvxclient::KVXClient>()>;

    explicit Sessions(Factory factory) : factory_(std::move(factory)) {}

    /// The client of this identity, made if there is none. Throws what the factory throws.
    std::shared_ptr<const SessionClient> client(const Identity& identity);
    /// A client of its own, for login.
    std::shared_ptr<const SessionClient> freshClient(const Identity& identity);
    /// The session was opened with this token.
    void opened(const std::string& session, const std::string& token);
    /// The transport has accepted a session that was not opened here: it is a user of its own.
    void proven(const std::string& session);
    /// The session is over. Returns its clients, which end on a thread that may wait for them.
    std::vector<std::shared_ptr<const SessionClient>> ended(const std::string& session);
    /// A digest that stands for the user of a session; empty for a session that nobody has proven,
    /// for whoever makes sessions up must not have a user's share with each.
    std::string userOf(const std::string& session) const;
    /// Drops clients that were not used for so long.
    void dropIdle(std::chrono::seconds idle);
    /// Cancels the calls of all clients.
    void cancel();
    /// Cancels the calls of all clients, waits for them, and drops the clients.
    void close();
    std::size_t count() const;

private:
    struct Kept {
        std::shared_ptr<const SessionClient> client;
        std::chrono::steady_clock::time_point used;
        std::list<Identity>::iterator place;
    };

    std::vector<std::shared_ptr<const SessionClient>> all();
    void keepUser(const std::string& session, std::string user, bool replaces);

    Factory factory_;
    mutable std::mutex mutex_;
    std::map<Identity, Kept> clients_;
    /// The least recently used one first.
    std::list<Identity> order_;
    std::map<std::string, std::string> users_;
    std::list<std::string> userOrder_;
    std::list<std::weak_ptr<const SessionClient>> fresh_;
    bool closed_ = false;
};

}  // namespace storage::kvxserver
