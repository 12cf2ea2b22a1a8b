#include <mutex>
#include <shared_mutex>
#include <thread>

#include "library/Rows.h"
#include "storage/kvxtesting/Awaitable.h"
#include "storage/kvxtransport/Services.h"

namespace bench {

namespace {

using namespace storage::kvxclient;

/// A transport that completes every call at once.
struct Inline {
    template <class Operation>
    void call(const storage::kvxtransport::Caller&, typename Operation::Request,
              typename Operation::Handler handler) const {
        handler(typename Operation::Response(), nullptr);
    }
    void cancelPendingCalls() const {}
    void waitForPendingCalls() const {}
};

const KVXClient& client() {
    static storage::kvxtransport::DispatchingClient client("endpoint", Inline());
    static const bool once = (client.withSessionId("0123456789abcdef0123456789abcdef"), true);
    keep(once);
    return client;
}

LogoutResponse futureForm() { return client().logoutAsync(LogoutRequest()).get(); }

void callbackForm() {
    client().logout(LogoutRequest(), [](LogoutResponse response, const std::exception_ptr& error) {
        keep(response);
        keep(error);
    });
}

storage::kvxtesting::Task<> awaited(int calls) {
    for (int i = 0; i < calls; ++i) {
        keep(co_await storage::kvxtesting::async::logout(client()));
    }
}

// The least that a call with a future can do.
void bareRoundTrip() {
    std::promise<LogoutResponse> promise;
    std::future<LogoutResponse> future = promise.get_future();
    promise.set_value(LogoutResponse());
    keep(future.get());
}

// The session id behind the standard's lock instead of Boost's.
class StandardLock {
public:
    std::string getSessionId() const {
        const std::shared_lock lock(lock_);
        return sessionId_;
    }

private:
    std::string sessionId_ = client().getSessionId();
    mutable std::shared_mutex lock_;
};

// Each of two threads does the work at the same time.
template <class Work>
Contestant onTwoThreads(const std::string& name, Work work) {
    return repeated(
        name,
        [work](int calls) {
            const auto loop = [&] {
                for (int i = 0; i < calls; ++i) {
                    work();
                }
            };
            std::thread other(loop);
            loop();
            other.join();
        },
        roundTime);
}

}  // namespace

std::vector<Row> callRows() {
    static const StandardLock standard;
    const auto boostRead = [] { keep(client().getSessionId()); };
    const auto standardRead = [] { keep(standard.getSessionId()); };
    return {
        {"Calls",
         "future form, completed inline",
         "call",
         {timed(
              "kvxclient", [] { keep(futureForm()); }, roundTime),
          asMark(timed("a bare std::promise", bareRoundTrip, roundTime))},
         {{Goal::TIMES_THE_TIME, 1.25, "a bare std::promise"}}},
        {"Calls",
         "blocking form, completed inline",
         "call",
         {timed(
              "kvxclient", [] { keep(client().logout(LogoutRequest())); }, roundTime),
          asMark(timed(
              "future form and get", [] { keep(futureForm()); }, roundTime))},
         {{Goal::TIMES_THE_TIME, 1.05, "future form and get"}}},
        {"Calls",
         "reading the session id, one thread",
         "read",
         {timed("kvxclient", boostRead, roundTime),
          timed("std::shared_mutex", standardRead, roundTime)}},
        {"Calls",
         "reading the session id, two threads",
         "read",
         {onTwoThreads("kvxclient", boostRead), onTwoThreads("std::shared_mutex", standardRead)}},
        // Last: only once a program has had a second thread does counting references take its time.
        {"Calls",
         "awaiting, completed inline",
         "call",
         {repeated(
              "kvxclient", [](int calls) { storage::kvxtesting::start(awaited(calls)).get(); },
              roundTime),
          asMark(timed("callback form", callbackForm, roundTime)),
          asMark(timed(
              "future form and get", [] { keep(futureForm()); }, roundTime))},
         {{Goal::NANOSECONDS_MORE, 60, "callback form"}}},
    };
}

}  // namespace bench
