#include "services/Client.h"

#include <shared_mutex>

#include "operations/Operations.h"
#include "services/ConfigurationService.h"
#include "services/FileService.h"
#include "services/NotificationService.h"
#include "services/SharingService.h"
#include "services/VersioningService.h"

namespace storage::kvxstore::services {

using database::Access;
using namespace kvxclient;

namespace {

struct NoRequest {};

/// Answers from within a transaction, and so proves that the database can be read.
PingResponse answerPing(const Context&, const NoRequest&) {
    return PingResponse().withValue("pong");
}

}  // namespace

/// The client's session id for as long as there is the client, then an empty one.
class Client::Session {
public:
    explicit Session(const Client& client) : client_(&client) {}

    std::string id() const {
        const std::shared_lock lock(mutex_);
        return client_ == nullptr ? std::string() : client_->getSessionId();
    }

    void end() {
        const std::lock_guard lock(mutex_);
        client_ = nullptr;
    }

private:
    mutable std::shared_mutex mutex_;
    const Client* client_;
};

Client::Client(std::shared_ptr<Engine> engine)
    : KVXClient(engine->url()),
      link_{std::move(engine), std::make_shared<scheduler::CallGroup>()},
      session_(std::make_shared<Session>(*this)) {}

Client::~Client() { session_->end(); }

std::function<std::string()> Client::sessionIdSupplier() const {
    return [session = session_] { return session->id(); };
}

void Client::ping(CompletionHandler<PingResponse> handler) const {
    link_.serve(Operation{"ping", answerPing, Access::READ}, {}, NoRequest(), std::move(handler));
}

void Client::login(LoginRequest request, CompletionHandler<LoginResponse> handler) const {
    link_.serve(Operation{"login", operations::login, Access::WRITE}, {}, std::move(request),
                std::move(handler));
}

void Client::logout(LogoutRequest request, CompletionHandler<LogoutResponse> handler) const {
    link_.serve(Operation{"logout", operations::logout, Access::WRITE}, getSessionId(),
                std::move(request), std::move(handler));
}

std::unique_ptr<FileAccess> Client::createFileAccess() const {
    return std::make_unique<FileService>(getEndpoint(), sessionIdSupplier(), getApplicationId(),
                                         link_);
}

std::unique_ptr<AccessControl> Client::createAccessControl() const {
    return std::make_unique<SharingService>(getEndpoint(), sessionIdSupplier(), getApplicationId(),
                                            link_);
}

std::unique_ptr<ConfigurationManagement> Client::createConfigurationManagement() const {
    return std::make_unique<ConfigurationService>(getEndpoint(), sessionIdSupplier(),
                                                  getApplicationId(), link_);
}

std::unique_ptr<Notification> Client::createNotification() const {
    return std::make_unique<NotificationService>(getEndpoint(), sessionIdSupplier(),
                                                 getApplicationId(), link_);
}

std::unique_ptr<IVersioning> Client::createVersioning() const {
    return std::make_unique<VersioningService>(sessionIdSupplier(), link_);
}

void Client::cancelPendingCalls() const { link_.engine->scheduler().cancel(*link_.group); }

void Client::waitForPendingCalls() const { link_.group->waitUntilEmpty(); }

}  // namespace storage::kvxstore::services
