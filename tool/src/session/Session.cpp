#include "session/Session.h"

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <system_error>

#include "session/OpenStore.h"
#include "storage/kvxclient/KVXClientException.h"
#include "ui/Failure.h"

namespace storage::kvxtool {
namespace {

using kvxclient::KVXClientErrorCode;
using std::chrono::system_clock;

Login logIn(const kvxclient::KVXClient& client, const std::string& token) {
    kvxclient::LoginRequest request;
    const kvxclient::LoginResponse response = client.login(std::move(request.withToken(token)));
    // Renewed after three quarters of its time.
    constexpr int MINUTES_OF_YEAR = 60 * 24 * 365;
    const int minutes = std::clamp(response.getMinutesBeforeRelogin(), 1, MINUTES_OF_YEAR);
    return {token, response.getSessionId(),
            system_clock::now() + minutes * std::chrono::seconds(45)};
}

std::unique_ptr<kvxclient::KVXClient> makeClient(const StoreLocation& location) {
    auto client = openStore(location)->createClient();
    client->withApplicationId("kvx");
    return client;
}

bool saysSessionIsOver(const kvxclient::KVXClientException& error) {
    const KVXClientErrorCode code = error.getErrorCode();
    return code == KVXClientErrorCode::SESSION_EXPIRED ||
           code == KVXClientErrorCode::INVALID_SESSION_ID ||
           code == KVXClientErrorCode::UNAUTHORIZED;
}

}  // namespace

std::optional<std::string> tokenOfEnvironment() {
    const char* token = std::getenv("KVX_TOKEN");
    return token != nullptr && *token != '\0' ? std::optional<std::string>(token) : std::nullopt;
}

void keepLogin(kvxclient::KVXClient& client, const StoreLocation& location,
               const std::string& token) {
    const LoginFile file(location.url());
    file.prepare();
    file.write(logIn(client, token));
}

void dropLogin(const StoreLocation& location) {
    const LoginFile file(location.url());
    const std::optional<Login> kept = file.read();
    file.remove();
    if (!kept) {
        return;
    }
    const auto client = makeClient(location);
    client->withSessionId(kept->sessionId);
    try {
        client->logout({});
    } catch (const kvxclient::KVXClientException& error) {
        if (!saysSessionIsOver(error)) {
            throw;
        }
    }
}

Session::Session(const StoreLocation& location) try
    : storeFiles_(location.files()), client_(makeClient(location)) {
    files_ = client_->createFileAccess();
    sharing_ = client_->createAccessControl();
    configuration_ = client_->createConfigurationManagement();
    notifications_ = client_->createNotification();
    versions_ = client_->createVersioning();
    start(location);
    renewal_ = std::jthread([this](const std::stop_token& stop) { keepAlive(stop); });
} catch (...) {
    throw Failure::of(location.text(), std::current_exception());
}

Session::~Session() {
    renewal_.request_stop();
    renewal_.join();
    if (file_) {
        return;
    }
    try {
        client_->logout({});
    } catch (...) {
        // The session ends by itself in time: nothing that the command did depends on this.
    }
}

void Session::start(const StoreLocation& location) {
    if (const std::optional<std::string> token = tokenOfEnvironment()) {
        use(logIn(*client_, *token));
        return;
    }
    file_.emplace(location.url());
    const std::optional<Login> kept = file_->read();
    if (!kept) {
        throw Failure(ExitCode::REFUSED, location.text(),
                      "you are not logged in: kvx login keeps your token, or set KVX_TOKEN to it");
    }
    use(*kept);
    if (isOver()) {
        renew();
    }
}

void Session::use(const Login& login) {
    login_ = login;
    client_->withSessionId(login.sessionId);
}

bool Session::isOver() const {
    if (login_.renewal <= system_clock::now()) {
        return true;
    }
    try {
        configuration_->getStorageUsage({});  // What anybody may ask who has a session.
        return false;
    } catch (const kvxclient::KVXClientException& error) {
        if (!saysSessionIsOver(error)) {
            throw;
        }
        return true;
    }
}

void Session::renew() {
    if (!file_) {
        use(logIn(*client_, login_.token));
        return;
    }
    const std::optional<Login> kept = file_->read();
    if (!kept) {
        throw Failure(ExitCode::REFUSED, "", "logged out meanwhile");
    }
    const bool isOurs = kept->token == login_.token;
    if (isOurs && kept->sessionId != login_.sessionId && kept->renewal > system_clock::now()) {
        use(*kept);  // Another program was quicker.
        return;
    }
    use(logIn(*client_, login_.token));
    if (isOurs) {
        try {
            file_->write(login_);
        } catch (const std::system_error&) {
            // The session is good for this command, and the next one logs in again.
        }
    }
}

// By the system's clock, which goes on while the machine sleeps.
void Session::keepAlive(const std::stop_token& stop) {
    constexpr std::chrono::seconds BEFORE_NEXT_TRY{30};
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    system_clock::time_point next = login_.renewal;
    while (!stop.stop_requested()) {
        stopped.wait_until(lock, stop, next, [] { return false; });
        if (stop.stop_requested()) {
            return;
        }
        try {
            renew();
            next = login_.renewal;
        } catch (...) {
            // The calls that fail without a session tell of it.
            next = system_clock::now() + BEFORE_NEXT_TRY;
        }
    }
}

}  // namespace storage::kvxtool
