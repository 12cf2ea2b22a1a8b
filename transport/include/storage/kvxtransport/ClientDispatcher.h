#pragma once

/// @file
/// A dispatcher over a finished KVXClient, for decorators of any transport.

#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "storage/kvxtransport/Services.h"

namespace storage::kvxtransport {

/// A dispatcher that makes the calls on a client and on services of it. The copies share the
/// client, whose session id becomes the caller's before each call; of the rest, calls have the
/// identity of the client and its services.
///
/// REQUIRES: calls with different session ids do not overlap, since a client has one at a time.
class ClientDispatcher {
public:
    /// Makes the services, and keeps the client for as long as there is a copy of the dispatcher.
    explicit ClientDispatcher(std::shared_ptr<kvxclient::KVXClient> client)
        : shared_(std::make_shared<const Shared>(std::move(client))) {}

    /// Makes the call on the client or one of its services.
    template <class Operation>
    void call(const Caller& caller, typename Operation::Request request,
              typename Operation::Handler handler) const {
        // The handler may hold the last of the client, and run before this returns.
        const auto alive = shared_;
        if (std::string sessionId = caller.sessionId();
            alive->client->getSessionId() != sessionId) {
            alive->client->withSessionId(std::move(sessionId));
        }
        Operation::start(alive->template service<typename Operation::Service>(), std::move(request),
                         std::move(handler));
    }

    /// Cancels all calls of the client.
    void cancelPendingCalls() const { shared_->client->cancelPendingCalls(); }
    /// Waits for all calls of the client.
    void waitForPendingCalls() const { shared_->client->waitForPendingCalls(); }

private:
    struct Shared {
        explicit Shared(std::shared_ptr<kvxclient::KVXClient> finished)
            : client(std::move(finished)),
              services(client->createFileAccess(), client->createAccessControl(),
                       client->createConfigurationManagement(), client->createNotification(),
                       client->createVersioning()) {}

        template <class Service>
        const Service& service() const {
            if constexpr (std::is_same_v<Service, kvxclient::KVXClient>) {
                return *client;
            } else {
                return *std::get<std::unique_ptr<Service>>(services);
            }
        }

        const std::shared_ptr<kvxclient::KVXClient> client;
        const std::tuple<
            std::unique_ptr<kvxclient::FileAccess>, std::unique_ptr<kvxclient::AccessControl>,
            std::unique_ptr<kvxclient::ConfigurationManagement>,
            std::unique_ptr<kvxclient::Notification>, std::unique_ptr<kvxclient::IVersioning>>
            services;
    };

    std::shared_ptr<const Shared> shared_;
};

}  // namespace storage::kvxtransport
