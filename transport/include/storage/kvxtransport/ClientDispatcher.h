#pragma once

/// @file
/// A dispatcher over a finished KVXClient, for decorators of any transport.

#include <memory>
#include <mutex>
#include <tuple>
#include <utility>

#include "storage/kvxtransport/Services.h"

namespace storage::kvxtransport {

/// A dispatcher that makes the calls on a client and on services of it. The copies share the
/// client; its session id becomes the caller's before each call. The services take their identity
/// from the first call of each.
class ClientDispatcher {
public:
    /// Keeps the client for as long as there is a copy of the dispatcher.
    explicit ClientDispatcher(std::shared_ptr<kvxclient::KVXClient> client)
        : shared_(std::make_shared<Shared>(std::move(client))) {}

    /// Makes the call on the client or one of its services.
    template <class Operation>
    void call(const Caller& caller, typename Operation::Request request,
              typename Operation::Handler handler) const {
        kvxclient::KVXClient& client = *shared_->client;
        if (std::string sessionId = caller.sessionId(); client.getSessionId() != sessionId) {
            client.withSessionId(std::move(sessionId));
        }
        Operation::start(shared_->template service<typename Operation::Service>(caller),
                         std::move(request), std::move(handler));
    }

    /// Cancels all calls of the client.
    void cancelPendingCalls() const { shared_->client->cancelPendingCalls(); }
    /// Waits for all calls of the client.
    void waitForPendingCalls() const { shared_->client->waitForPendingCalls(); }

private:
    struct Shared {
        explicit Shared(std::shared_ptr<kvxclient::KVXClient> finished)
            : client(std::move(finished)) {}

        template <class Service>
        const Service& service(const Caller& caller) {
            if constexpr (std::is_same_v<Service, kvxclient::KVXClient>) {
                return *client;
            } else {
                const std::lock_guard<std::mutex> lock(mutex);
                auto& made = std::get<std::unique_ptr<Service>>(services);
                if (!made) {
                    client->withApplicationId(caller.applicationId());
                    make(made);
                    if constexpr (detail::HasOrigin<Service>::value) {
                        made->withOriginId(caller.originId())
                            .withClientString(caller.clientString())
                            .withKvxClientType(caller.clientType());
                    }
                }
                return *made;
            }
        }

        void make(std::unique_ptr<kvxclient::FileAccess>& to) { to = client->createFileAccess(); }
        void make(std::unique_ptr<kvxclient::AccessControl>& to) {
            to = client->createAccessControl();
        }
        void make(std::unique_ptr<kvxclient::ConfigurationManagement>& to) {
            to = client->createConfigurationManagement();
        }
        void make(std::unique_ptr<kvxclient::Notification>& to) {
            to = client->createNotification();
        }
        void make(std::unique_ptr<kvxclient::IVersioning>& to) { to = client->createVersioning(); }

        const std::shared_ptr<kvxclient::KVXClient> client;
        std::mutex mutex;
        std::tuple<
            std::unique_ptr<kvxclient::FileAccess>, std::unique_ptr<kvxclient::AccessControl>,
            std::unique_ptr<kvxclient::ConfigurationManagement>,
            std::unique_ptr<kvxclient::Notification>, std::unique_ptr<kvxclient::IVersioning>>
            services;
    };

    std::shared_ptr<Shared> shared_;
};

}  // namespace storage::kvxtransport
