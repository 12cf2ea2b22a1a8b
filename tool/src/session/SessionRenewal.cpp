#include "session/SessionRenewal.h"

#include <system_error>
#include <utility>

#include "session/Session.h"
#include "storage/kvxclient/KVXClientException.h"
#include "ui/Failure.h"

namespace storage::kvxtool {

using std::chrono::system_clock;

namespace {

/// Without a new session the command ends, whatever the reason: each further call would fail so.
std::exception_ptr renewalFailure(const std::string& store, const std::exception_ptr& error) {
    return std::make_exception_ptr(SessionEnded(Failure::of(store, error)));
}

}  // namespace

SessionRenewal::SessionRenewal(const StoreLocation& location,
                               std::shared_ptr<kvxclient::KVXClient> client)
    : storeName_(location.text()),
      client_(std::move(client)),
      services_(client_->createFileAccess(), client_->createAccessControl(),
                client_->createConfigurationManagement(), client_->createNotification(),
                client_->createVersioning()) {
    if (const std::optional<std::string> token = tokenOfEnvironment()) {
        keep(kvxtool::logIn(*client_, *token));
        return;
    }
    file_.emplace(location.loginUrl());
    const std::optional<Login> kept = file_->read();
    if (!kept) {
        throw Failure(ExitCode::REFUSED, storeName_,
                      "you are not logged in: kvx login keeps your token, or set KVX_TOKEN to it");
    }
    keep(*kept);
}

std::string SessionRenewal::sessionId() const {
    const std::lock_guard lock(mutex_);
    return login_.sessionId;
}

system_clock::time_point SessionRenewal::due() const {
    const std::lock_guard lock(mutex_);
    return login_.renewal;
}

void SessionRenewal::renew(unsigned long over, Renewed renewed) {
    std::unique_lock lock(mutex_);
    if (number_ != over) {
        lock.unlock();
        renewed(nullptr);
        return;
    }
    waiting_.push_back(std::move(renewed));
    if (waiting_.size() > 1) {
        return;
    }
    lock.unlock();
    try {
        if (const std::optional<Login> newer = newerLogin()) {
            keep(*newer);
            finish(nullptr);
        } else {
            logIn();
        }
    } catch (...) {
        finish(renewalFailure(storeName_, std::current_exception()));
    }
}

std::optional<Login> SessionRenewal::newerLogin() const {
    const std::optional<Login> kept = file_ ? file_->read() : std::nullopt;
    if (file_ && !kept) {
        throw SessionEnded(ExitCode::REFUSED, storeName_, "logged out meanwhile");
    }
    const std::lock_guard lock(mutex_);
    const bool isNewer = kept && kept->token == login_.token &&
                         kept->sessionId != login_.sessionId && kept->renewal > system_clock::now();
    return isNewer ? kept : std::nullopt;
}

void SessionRenewal::logIn() {
    std::string token;
    {
        const std::lock_guard lock(mutex_);
        token = login_.token;
    }
    kvxclient::LoginRequest request;
    request.withToken(token);
    client_->login(std::move(request), [this, token](const kvxclient::LoginResponse& response,
                                                     const std::exception_ptr& error) {
        if (error) {
            finish(renewalFailure(storeName_, error));
            return;
        }
        const Login login = loginOf(response, token);
        keep(login);
        try {
            if (const auto kept = file_ ? file_->read() : std::nullopt;
                kept && kept->token == token) {
                file_->write(login);
            }
        } catch (const std::system_error&) {
            // The session is good for this command, and the next one logs in again.
        }
        finish(nullptr);
    });
}

void SessionRenewal::keep(const Login& login) {
    const std::lock_guard lock(mutex_);
    login_ = login;
    client_->withSessionId(login.sessionId);
    ++number_;
}

void SessionRenewal::finish(const std::exception_ptr& error) {
    std::vector<Renewed> waiting;
    {
        const std::lock_guard lock(mutex_);
        waiting = std::exchange(waiting_, {});
    }
    for (const Renewed& renewed : waiting) {
        renewed(error);
    }
}

}  // namespace storage::kvxtool
