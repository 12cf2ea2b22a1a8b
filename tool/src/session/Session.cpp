#include "session/Session.h"

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <future>
#include <mutex>

#include "session/OpenStore.h"
#include "session/RenewingDispatcher.h"
#include "ui/Failure.h"

namespace storage::kvxtool {
namespace {

using std::chrono::system_clock;

std::shared_ptr<kvxclient::KVXClient> makeClient(const StoreLocation& location) {
    std::shared_ptr<kvxclient::KVXClient> client = openClient(location);
    client->withApplicationId("kvx");
    return client;
}

/// Renews a session and waits for it.
void renewNow(SessionRenewal& renewal) {
    const auto done = std::make_shared<std::promise<void>>();
    renewal.renew(renewal.number(), [done](const std::exception_ptr& error) {
        error ? done->set_exception(error) : done->set_value();
    });
    done->get_future().get();
}

}  // namespace

bool saysSessionIsOver(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const kvxclient::KVXClientException& exception) {
        return exception.getErrorCode() == kvxclient::KVXClientErrorCode::SESSION_EXPIRED ||
               exception.getErrorCode() == kvxclient::KVXClientErrorCode::INVALID_SESSION_ID;
    } catch (...) {
        return false;
    }
}

std::optional<std::string> tokenOfEnvironment() {
    const char* token = std::getenv("KVX_TOKEN");
    return token != nullptr && *token != '\0' ? std::optional<std::string>(token) : std::nullopt;
}

Login logIn(const kvxclient::KVXClient& client, const std::string& token) {
    kvxclient::LoginRequest request;
    return loginOf(client.login(std::move(request.withToken(token))), token);
}

Login loginOf(const kvxclient::LoginResponse& response, const std::string& token) {
    // Renewed after three quarters of its time.
    constexpr int MINUTES_OF_YEAR = 60 * 24 * 365;
    const int minutes = std::clamp(response.getMinutesBeforeRelogin(), 1, MINUTES_OF_YEAR);
    return {token, response.getSessionId(),
            system_clock::now() + minutes * std::chrono::seconds(45)};
}

void keepLogin(const kvxclient::KVXClient& client, const StoreLocation& location,
               const std::string& token) {
    const LoginFile file(location.loginUrl());
    file.prepare();
    file.write(logIn(client, token));
}

void dropLogin(const StoreLocation& location) {
    const LoginFile file(location.loginUrl());
    const std::optional<Login> kept = file.read();
    file.remove();
    if (!kept || kept->sessionId.empty()) {
        return;
    }
    const auto client = makeClient(location);
    client->withSessionId(kept->sessionId);
    try {
        client->logout({});
    } catch (const kvxclient::KVXClientException&) {
        if (!saysSessionIsOver(std::current_exception())) {
            throw;
        }
    }
}

Session::Session(const StoreLocation& location) try
    : storeFiles_(location.files()), store_(makeClient(location)) {
    renewal_ = std::make_unique<SessionRenewal>(location, store_);
    const kvxtransport::DispatchingClient client("", RenewingDispatcher(*renewal_));
    files_ = client.createFileAccess();
    sharing_ = client.createAccessControl();
    configuration_ = client.createConfigurationManagement();
    notifications_ = client.createNotification();
    versions_ = client.createVersioning();
    if (renewal_->sessionId().empty() || renewal_->due() <= system_clock::now()) {
        renewNow(*renewal_);
    }
    keeper_ = std::jthread([this](const std::stop_token& stop) { keepAlive(stop); });
} catch (...) {
    throw Failure::of(location.text(), std::current_exception());
}

Session::~Session() {
    keeper_.request_stop();
    keeper_.join();
    store_->waitForPendingCalls();
    if (!renewal_->isTemporary()) {
        return;
    }
    try {
        store_->logout({});
    } catch (...) {
        // The session ends by itself in time: nothing that the command did depends on this.
    }
}

// By the system's clock, which goes on while the machine sleeps.
void Session::keepAlive(const std::stop_token& stop) {
    constexpr std::chrono::seconds BEFORE_NEXT_TRY{30};
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    system_clock::time_point next = renewal_->due();
    while (!stop.stop_requested()) {
        stopped.wait_until(lock, stop, next, [] { return false; });
        if (stop.stop_requested()) {
            return;
        }
        try {
            renewNow(*renewal_);
            next = renewal_->due();
        } catch (...) {
            // Calls that need a session report the failure.
            next = system_clock::now() + BEFORE_NEXT_TRY;
        }
    }
}

}  // namespace storage::kvxtool
