#include "Sessions.h"

#include <utility>
#include <vector>

#include "Digest.h"
#include "protocol/Percent.h"

namespace storage::kvxserver {

namespace {

/// What a setter encodes to the given text.
std::string beforeEncoding(const std::string& encoded) {
    return kvxremote::percentDecode(encoded).value_or(encoded);
}

}  // namespace

SessionClient::SessionClient(std::unique_ptr<kvxclient::KVXClient> client, const Identity& identity)
    : client_(std::move(client)) {
    if (!client_) {
        throw std::runtime_error("there is no client");
    }
    client_->withSessionId(identity.session)
        .withApplicationId(identity.application)
        .withOriginId(identity.origin)
        .withClientString(beforeEncoding(identity.client))
        .withKVXClientType(beforeEncoding(identity.clientType));
    services_ = {client_->createFileAccess(), client_->createAccessControl(),
                 client_->createConfigurationManagement(), client_->createNotification(),
                 client_->createVersioning()};
    const auto identify = [&](auto& service) {
        service.withOriginId(identity.origin)
            .withClientString(beforeEncoding(identity.client))
            .withKvxClientType(beforeEncoding(identity.clientType));
    };
    identify(*std::get<std::unique_ptr<kvxclient::FileAccess>>(services_));
    identify(*std::get<std::unique_ptr<kvxclient::AccessControl>>(services_));
    identify(*std::get<std::unique_ptr<kvxclient::Notification>>(services_));
}

std::shared_ptr<const SessionClient> Sessions::client(const Identity& identity) {
    const auto now = std::chrono::steady_clock::now();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = clients_.find(identity);
        if (found != clients_.end()) {
            found->second.used = now;
            order_.splice(order_.end(), order_, found->second.place);
            return found->second.client;
        }
    }
    auto made = std::make_shared<const SessionClient>(factory_(), identity);
    std::shared_ptr<const SessionClient> dropped;  // Ends with nothing locked.
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) {
        throw kvxclient::KVXClientException(kvxclient::KVXClientErrorCode::BAD_NETWORK);
    }
    const auto [place, isNew] = clients_.try_emplace(identity);
    if (isNew) {
        place->second = {made, now, order_.insert(order_.end(), identity)};
        if (clients_.size() > mostClients) {
            const auto oldest = clients_.find(order_.front());
            dropped = std::move(oldest->second.client);
            clients_.erase(oldest);
            order_.pop_front();
        }
    } else {
        dropped.swap(made);
    }
    return place->second.client;
}

std::shared_ptr<const SessionClient> Sessions::freshClient(const Identity& identity) {
    Identity withoutSession = identity;
    withoutSession.session.clear();
    auto made = std::make_shared<const SessionClient>(factory_(), withoutSession);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) {
        throw kvxclient::KVXClientException(kvxclient::KVXClientErrorCode::BAD_NETWORK);
    }
    fresh_.remove_if([](const auto& weak) { return weak.expired(); });
    fresh_.push_back(made);
    return made;
}

void Sessions::opened(const std::string& session, const std::string& token) {
    keepUser(session, digestOf(token), true);
}

void Sessions::proven(const std::string& session) { keepUser(session, digestOf(session), false); }

void Sessions::keepUser(const std::string& session, std::string user, bool replaces) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto [place, isNew] = users_.try_emplace(session);
    if (isNew) {
        userOrder_.push_back(session);
    }
    if (isNew || replaces) {
        place->second = std::move(user);
    }
    if (userOrder_.size() > mostUsers) {
        users_.erase(userOrder_.front());
        userOrder_.pop_front();
    }
}

std::vector<std::shared_ptr<const SessionClient>> Sessions::ended(const std::string& session) {
    std::vector<std::shared_ptr<const SessionClient>> dropped;
    const std::lock_guard<std::mutex> lock(mutex_);
    auto next = clients_.lower_bound(Identity{session, {}, {}, {}, {}});
    while (next != clients_.end() && next->first.session == session) {
        dropped.push_back(std::move(next->second.client));
        order_.erase(next->second.place);
        next = clients_.erase(next);
    }
    return dropped;
}

std::string Sessions::userOf(const std::string& session) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = users_.find(session);
    return found != users_.end() ? found->second : std::string();
}

void Sessions::dropIdle(std::chrono::seconds idle) {
    const auto oldest = std::chrono::steady_clock::now() - idle;
    std::vector<std::shared_ptr<const SessionClient>> dropped;
    const std::lock_guard<std::mutex> lock(mutex_);
    while (!order_.empty()) {
        const auto found = clients_.find(order_.front());
        if (found->second.used > oldest) {
            return;
        }
        dropped.push_back(std::move(found->second.client));
        clients_.erase(found);
        order_.pop_front();
    }
}

std::vector<std::shared_ptr<const SessionClient>> Sessions::all() {
    std::vector<std::shared_ptr<const SessionClient>> clients;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [identity, kept] : clients_) {
        clients.push_back(kept.client);
    }
    for (const auto& weak : fresh_) {
        if (auto client = weak.lock()) {
            clients.push_back(std::move(client));
        }
    }
    return clients;
}

void Sessions::cancel() {
    for (const auto& client : all()) {
        client->service<kvxclient::KVXClient>().cancelPendingCalls();
    }
}

void Sessions::close() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
    }
    cancel();
    for (const auto& client : all()) {
        client->service<kvxclient::KVXClient>().waitForPendingCalls();
    }
    std::map<Identity, Kept> ended;  // Ends with nothing locked.
    const std::lock_guard<std::mutex> lock(mutex_);
    ended.swap(clients_);
    order_.clear();
}

std::size_t Sessions::count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return clients_.size();
}

}  // namespace storage::kvxserver
