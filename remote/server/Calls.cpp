#include "Calls.h"

#include <utility>

#include "Call.h"
#include "Digest.h"
#include "Network.h"

namespace storage::kvxserver {

namespace {

constexpr std::chrono::minutes clientIdle{15};
constexpr std::size_t heavyCalls = 4;
constexpr std::size_t heavyCallsOfUser = 2;

}  // namespace

bool Running::enter(const std::string& user) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = ofUser_.find(user);
    if (count_ >= most_ || (found != ofUser_.end() && found->second >= mostOfUser_)) {
        return false;
    }
    ++count_;
    ++ofUser_[user];
    return true;
}

void Running::leave(const std::string& user) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = ofUser_.find(user);
    if (--found->second == 0) {
        ofUser_.erase(found);
    }
    if (--count_ == 0) {
        emptied_.notify_all();
    }
}

bool Running::waitUntilNone(std::chrono::milliseconds atMost) {
    std::unique_lock<std::mutex> lock(mutex_);
    return emptied_.wait_for(lock, atMost, [this] { return count_ == 0; });
}

std::size_t Running::count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return count_;
}

Shared::Shared(const ServerOptions& serverOptions, Sessions::Factory factory, Server::Log logging,
               Later timer)
    : options(serverOptions),
      log(std::move(logging)),
      later(std::move(timer)),
      boot(randomDigits(16)),
      sessions(std::move(factory)),
      handles(options.handlesOfSession),
      logins(options.failedLogins),
      running(options.calls, options.callsOfUser),
      content(std::make_shared<Budget>(options.contentInHand, options.contentOfUser)),
      heavy(std::make_shared<Budget>(heavyCalls, heavyCallsOfUser)),
      entry(Network::threadsFor(options)) {}

void Calls::begin(std::shared_ptr<Channel> channel, Head head) {
    std::make_shared<Call>(shared_, std::move(channel), std::move(head))->begin();
}

void Calls::watch() {
    shared_->later(std::chrono::seconds(1), [this] {
        shared_->handles.giveUpWaiting();
        // Clients end on a thread that may wait for them.
        shared_->entry.add("", 0, [shared = shared_, this] {
            shared->sessions.dropIdle(clientIdle);
            shared->entry.left(0);
            abortHandles(shared->options.handleIdle);
        });
        watch();
    });
}

void Calls::drain(std::chrono::milliseconds atMost) {
    shared_->draining = true;
    shared_->running.waitUntilNone(atMost);
}

void Calls::end() {
    shared_->ending = true;
    shared_->sessions.cancel();
    abortHandles(std::chrono::milliseconds(-1));
    shared_->content->open();
    shared_->heavy->open();
    shared_->entry.waitUntilEmpty(std::chrono::seconds(5));
    shared_->sessions.close();
    shared_->entry.stop();
    // The last answers are on their way.
    shared_->running.waitUntilNone(std::chrono::seconds(1));
}

void Calls::abortHandles(std::chrono::milliseconds idle) {
    for (auto& unused : shared_->handles.takeUnused(idle)) {
        shared_->entry.add("", 0, [shared = shared_, unused] {
            // Leaves when the answer is there, or the handler is dropped.
            const std::shared_ptr<void> leaving(nullptr,
                                                [shared](void*) { shared->entry.left(0); });
            try {
                unused.client->service<kvxclient::FileAccess>().closeFileHandle(
                    kvxclient::FileHandleCloseRequest(unused.resource)
                        .withFileHandleId(unused.key.second)
                        .withOperation(kvxclient::FileHandleCloseOperation::ABORT_CHANGES),
                    [leaving](kvxclient::FileHandleCloseResponse, std::exception_ptr) {});
            } catch (const std::exception&) {
                // The transport ends it some time.
            }
        });
    }
}

}  // namespace storage::kvxserver
