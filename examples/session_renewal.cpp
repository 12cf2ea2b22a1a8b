// Keeps a session alive: logs in again in time, and when the service reports that it has expired.

#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>

#include "ExampleStore.h"

using namespace storage::kvxclient;
using Clock = std::chrono::system_clock;

namespace {

/// Logs in, and again whenever less than five minutes are left.
class Session {
public:
    Session(KVXClient& client, std::string token, std::function<Clock::time_point()> now)
        : client_(client), token_(std::move(token)), now_(std::move(now)) {}

    void renewInTime() {
        if (now_() < renewal_) {
            return;
        }
        const LoginResponse session = client_.login(LoginRequest().withToken(token_));
        client_.withSessionId(session.getSessionId());  // Every service uses it from now on.
        renewal_ = now_() + std::chrono::minutes(session.getMinutesBeforeRelogin() - 5);
        std::cout << "logged in\n";
    }

    void renewNow() {
        renewal_ = {};
        renewInTime();
    }

private:
    KVXClient& client_;
    const std::string token_;
    const std::function<Clock::time_point()> now_;
    Clock::time_point renewal_{};
};

}  // namespace

int main() {
    // This example moves its clock by hand.
    const auto now = std::make_shared<std::atomic<Clock::time_point>>(Clock::now());
    const auto clock = [now] { return now->load(); };
    storage::kvxstore::StoreOptions options;
    options.clock = clock;
    const auto store = storage::kvxstore::Store::open("sqlite::memory:", options);
    const auto client = store->createClient();
    Session session(*client, store->createUser({u"anna"}), clock);
    const auto files = client->createFileAccess();
    const Resource root(u"/", u"anna");

    session.renewInTime();
    files->listFolder(root);

    *now = now->load() + std::chrono::minutes(58);
    session.renewInTime();
    files->listFolder(root);

    *now = now->load() + std::chrono::hours(2);
    try {
        files->listFolder(root);
    } catch (const KVXClientException& error) {
        if (error.getErrorCode() != KVXClientErrorCode::SESSION_EXPIRED) {
            throw;
        }
        std::cout << "expired\n";
        session.renewNow();
        files->listFolder(root);
    }
    client->logout(LogoutRequest());
}
