#pragma once

/// @file
/// The client and the services of a transport, written once over a dispatcher.

#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <utility>

#include "storage/kvxtransport/Operations.h"

namespace storage::kvxtransport {

/// @page dispatchers Dispatchers
///
/// A transport is a dispatcher: a class that carries out calls, whatever the operation. The client
/// and the services below turn each virtual function of the interface into one call of it, which
/// the compiler resolves. A dispatcher D is a copyable class; its copies are the same transport.
/// It has, all const and callable from any thread:
///
/// - `template <class Operation> void call(const Caller& caller, typename Operation::Request
///   request, typename Operation::Handler handler)`: starts a call, with Operation one of
///   kvxtransport::operations. It invokes the handler exactly once, as the interface demands. The
///   caller is good until it returns.
/// - `void cancelPendingCalls()` and `void waitForPendingCalls()`: as KVXClient's members, for all
///   calls of the dispatcher and its copies. See PendingCalls.
///
/// A decorator is a dispatcher that is made of another one, such as FaultInjector.

/// Who makes a call: the identity of the service that is called, as it is now.
class Caller {
public:
    /// The session id, empty without a session.
    virtual std::string sessionId() const = 0;
    /// The id of the calling application.
    virtual std::string applicationId() const = 0;
    /// The id of the origin of the requests.
    virtual std::string originId() const = 0;
    /// The text that describes the calling client.
    virtual std::string clientString() const = 0;
    /// The kind of the calling client.
    virtual std::string clientType() const = 0;

protected:
    ~Caller() = default;
};

namespace detail {

/// Whether a service keeps origin id, client string and client type; some have none of them.
template <class Service, class = void>
struct HasOrigin : std::false_type {};
template <class Service>
struct HasOrigin<Service, std::void_t<decltype(&Service::getOriginId)>> : std::true_type {};

/// A service of the interface as the caller.
template <class Service>
class ServiceCaller final : public Caller {
public:
    explicit ServiceCaller(const Service& service) : service_(service) {}

    std::string sessionId() const override { return service_.getSessionId(); }
    std::string applicationId() const override { return service_.getApplicationId(); }
    std::string originId() const override {
        if constexpr (HasOrigin<Service>::value) {
            return service_.getOriginId();
        } else {
            return {};
        }
    }
    std::string clientString() const override {
        if constexpr (HasOrigin<Service>::value) {
            return service_.getClientString();
        } else {
            return {};
        }
    }
    std::string clientType() const override {
        if constexpr (std::is_base_of_v<kvxclient::KVXClient, Service>) {
            return service_.getKvxClientType();
        } else if constexpr (HasOrigin<Service>::value) {
            return service_.getClientType();
        } else {
            return {};
        }
    }

private:
    const Service& service_;
};

}  // namespace detail

/// @cond  Documentation cannot see what macros make.
// The function of a row: it hands the call to the dispatcher. The using declaration keeps the
// blocking form visible beside it.
#define KVXTRANSPORT_FUNCTION(Service, operation, Type, Request, Response, ...)                \
    using kvxclient::Service::operation;                                                       \
    void operation(kvxclient::Request request,                                                 \
                   kvxclient::CompletionHandler<kvxclient::Response> handler) const override { \
        dispatcher_.template call<operations::Type>(detail::ServiceCaller(*this),              \
                                                    std::move(request), std::move(handler));   \
    }

// A service whose interface keeps the caller's identity itself.
#define KVXTRANSPORT_SERVICE(Service, ROWS)                                                        \
    /* Service over a dispatcher, which it holds a copy of. */                                     \
    template <class Dispatcher>                                                                    \
    class Dispatching##Service : public kvxclient::Service {                                       \
    public:                                                                                        \
        Dispatching##Service(std::string endpoint, std::function<std::string()> sessionIdSupplier, \
                             std::string applicationId, Dispatcher dispatcher)                     \
            : Service(std::move(endpoint), std::move(sessionIdSupplier),                           \
                      std::move(applicationId)),                                                   \
              dispatcher_(std::move(dispatcher)) {}                                                \
                                                                                                   \
        ROWS(KVXTRANSPORT_FUNCTION)                                                                \
                                                                                                   \
    private:                                                                                       \
        Dispatcher dispatcher_;                                                                    \
    };

KVXTRANSPORT_SERVICE(FileAccess, KVXTRANSPORT_FILE_OPERATIONS)
KVXTRANSPORT_SERVICE(AccessControl, KVXTRANSPORT_SHARING_OPERATIONS)
KVXTRANSPORT_SERVICE(ConfigurationManagement, KVXTRANSPORT_CONFIGURATION_OPERATIONS)
KVXTRANSPORT_SERVICE(Notification, KVXTRANSPORT_NOTIFICATION_OPERATIONS)

#undef KVXTRANSPORT_SERVICE
/// @endcond

/// IVersioning over a dispatcher, which it holds a copy of. Its interface keeps no identity: the
/// service has the application id of the client that made it and no other.
template <class Dispatcher>
class DispatchingVersioning : public kvxclient::IVersioning {
public:
    /// Makes the service with a supplier of the session id, called for each call.
    DispatchingVersioning(std::function<std::string()> sessionIdSupplier, std::string applicationId,
                          Dispatcher dispatcher)
        : sessionIdSupplier_(std::move(sessionIdSupplier)),
          applicationId_(std::move(applicationId)),
          dispatcher_(std::move(dispatcher)) {}

    KVXTRANSPORT_VERSIONING_OPERATIONS(KVXTRANSPORT_FUNCTION)

    /// Returns what the supplier returns; asks it anew each time.
    std::string getSessionId() const { return sessionIdSupplier_(); }
    /// Returns the id of the calling application.
    std::string getApplicationId() const { return applicationId_; }

private:
    std::function<std::string()> sessionIdSupplier_;
    std::string applicationId_;
    Dispatcher dispatcher_;
};

/// KVXClient over a dispatcher. The client and every service it makes hold a copy of it. A service
/// that outlives its client finds no session.
template <class Dispatcher>
class DispatchingClient : public kvxclient::KVXClient {
public:
    /// Makes a client whose calls go through the dispatcher.
    DispatchingClient(std::string endpoint, Dispatcher dispatcher)
        : KVXClient(std::move(endpoint)),
          dispatcher_(std::move(dispatcher)),
          session_(std::make_shared<SessionLink>(*this)) {}
    ~DispatchingClient() override { session_->end(); }

    using KVXClient::ping;
    /// Hands the call to the dispatcher, as every operation does.
    void ping(kvxclient::CompletionHandler<kvxclient::PingResponse> handler) const override {
        dispatcher_.template call<operations::Ping>(detail::ServiceCaller(*this), PingRequest(),
                                                    std::move(handler));
    }
    KVXTRANSPORT_SESSION_OPERATIONS(KVXTRANSPORT_FUNCTION)

    /// See KVXClient. The service holds a copy of the dispatcher.
    std::unique_ptr<kvxclient::FileAccess> createFileAccess() const override {
        return make<DispatchingFileAccess<Dispatcher>>();
    }
    /// See KVXClient. The service holds a copy of the dispatcher.
    std::unique_ptr<kvxclient::AccessControl> createAccessControl() const override {
        return make<DispatchingAccessControl<Dispatcher>>();
    }
    /// See KVXClient. The service holds a copy of the dispatcher.
    std::unique_ptr<kvxclient::ConfigurationManagement> createConfigurationManagement()
        const override {
        return make<DispatchingConfigurationManagement<Dispatcher>>();
    }
    /// See KVXClient. The service holds a copy of the dispatcher.
    std::unique_ptr<kvxclient::Notification> createNotification() const override {
        return make<DispatchingNotification<Dispatcher>>();
    }
    /// See KVXClient. The service holds a copy of the dispatcher.
    std::unique_ptr<kvxclient::IVersioning> createVersioning() const override {
        return std::make_unique<DispatchingVersioning<Dispatcher>>(sessionIdSupplier(),
                                                                   getApplicationId(), dispatcher_);
    }

    /// Cancels all calls of the dispatcher.
    void cancelPendingCalls() const override { dispatcher_.cancelPendingCalls(); }
    /// Waits for all calls of the dispatcher.
    void waitForPendingCalls() const override { dispatcher_.waitForPendingCalls(); }

private:
    /// The client's session id for as long as there is the client, then an empty one.
    class SessionLink {
    public:
        explicit SessionLink(const DispatchingClient& client) : client_(&client) {}

        std::string id() const {
            const std::shared_lock<std::shared_mutex> lock(mutex_);
            return client_ == nullptr ? std::string() : client_->getSessionId();
        }

        void end() {
            const std::lock_guard<std::shared_mutex> lock(mutex_);
            client_ = nullptr;
        }

    private:
        mutable std::shared_mutex mutex_;
        const DispatchingClient* client_;
    };

    std::function<std::string()> sessionIdSupplier() const {
        return [session = session_] { return session->id(); };
    }

    template <class Service>
    std::unique_ptr<Service> make() const {
        return std::make_unique<Service>(getEndpoint(), sessionIdSupplier(), getApplicationId(),
                                         dispatcher_);
    }

    Dispatcher dispatcher_;
    std::shared_ptr<SessionLink> session_;
};

#undef KVXTRANSPORT_FUNCTION

}  // namespace storage::kvxtransport
