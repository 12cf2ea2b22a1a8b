#pragma once

/// @file
/// A decorator that lets planned faults happen on any transport.

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "storage/kvxtransport/FaultPlan.h"
#include "storage/kvxtransport/PendingCalls.h"
#include "storage/kvxtransport/Services.h"

namespace storage::kvxtransport {

/// A call that a fault happens to, until its handler has returned or is let go of.
class FaultyCall : public PendingCall {
public:
    using PendingCall::PendingCall;
    virtual ~FaultyCall() = default;

    /// Completes the call; as cancelled when it was.
    virtual void finish() noexcept = 0;
};

/// A call that keeps its outcome until it is finished.
template <class Response>
class KeptCall final : public FaultyCall {
public:
    /// A call of the group, whose handler finish() destroys uncalled if told to drop it.
    KeptCall(std::shared_ptr<PendingCalls> group, bool dropsHandler,
             kvxclient::CompletionHandler<Response> handler)
        : FaultyCall(std::move(group)), dropsHandler_(dropsHandler), handler_(std::move(handler)) {}

    /// What the handler gets. Not once the call may be finished.
    void keep(Response response, std::exception_ptr error) {
        response_ = std::move(response);
        error_ = std::move(error);
    }

    void finish() noexcept override {
        if (dropsHandler_) {
            return;
        }
        try {
            handler_(std::move(response_), isCancelled() ? badNetwork() : std::move(error_));
        } catch (...) {
            // The handler's own failure: there is nobody left to tell.
        }
    }

private:
    const bool dropsHandler_;
    kvxclient::CompletionHandler<Response> handler_;
    Response response_{};
    std::exception_ptr error_;
};

/// Calls that one thread finishes when they are due.
class DelayedCalls {
public:
    /// What is shared with calls on their way, which may outlive the object.
    class Queue {
    public:
        /// Has the call finished after the delay: at once when it was cancelled or the thread ends.
        void add(std::shared_ptr<FaultyCall> call, std::chrono::milliseconds delay) {
            std::unique_lock<std::mutex> lock(mutex_);
            if (ending_) {
                lock.unlock();
                call->finish();
                return;
            }
            const bool hurries = call->isCancelled();
            calls_.emplace(hurries ? TimePoint() : std::chrono::steady_clock::now() + delay,
                           std::move(call));
            changed_.notify_all();
        }

        /// Finishes what is cancelled without further delay.
        void hurryCancelled() {
            const std::lock_guard<std::mutex> lock(mutex_);
            std::multimap<TimePoint, std::shared_ptr<FaultyCall>> hurried;
            for (auto& [due, call] : calls_) {
                const bool cancelled = call->isCancelled();
                hurried.emplace(cancelled ? TimePoint() : due, std::move(call));
            }
            calls_ = std::move(hurried);
            changed_.notify_all();
        }

    private:
        friend class DelayedCalls;
        using TimePoint = std::chrono::steady_clock::time_point;

        void run() {
            std::unique_lock<std::mutex> lock(mutex_);
            while (!ending_ || !calls_.empty()) {
                if (calls_.empty()) {
                    changed_.wait(lock);
                    continue;
                }
                const auto first = calls_.begin();
                const TimePoint due = first->first;
                if (!ending_ && due > std::chrono::steady_clock::now()) {
                    changed_.wait_until(lock, due);
                    continue;
                }
                std::shared_ptr<FaultyCall> call = std::move(first->second);
                calls_.erase(first);
                lock.unlock();
                call->finish();
                call.reset();
                lock.lock();
            }
        }

        void end() {
            const std::lock_guard<std::mutex> lock(mutex_);
            ending_ = true;
            changed_.notify_all();
        }

        std::mutex mutex_;
        std::condition_variable changed_;
        std::multimap<TimePoint, std::shared_ptr<FaultyCall>> calls_;
        bool ending_ = false;
    };

    /// Starts the thread, which first calls `onStart` if there is one.
    explicit DelayedCalls(std::function<void()> onStart = {})
        : thread_([queue = queue_, onStart = std::move(onStart)] {
              if (onStart) {
                  onStart();
              }
              queue->run();
          }) {}
    /// Finishes all calls at once. Returns when that is done, but on its own thread, where a
    /// handler held the last of the transport.
    ~DelayedCalls() {
        queue_->end();
        if (thread_.get_id() == std::this_thread::get_id()) {
            thread_.detach();
        } else {
            thread_.join();
        }
    }
    DelayedCalls(const DelayedCalls&) = delete;
    DelayedCalls& operator=(const DelayedCalls&) = delete;

    /// The calls, for those who add to them.
    const std::shared_ptr<Queue>& queue() const { return queue_; }

private:
    const std::shared_ptr<Queue> queue_ = std::make_shared<Queue>();
    std::thread thread_;
};

/// A dispatcher that passes calls on to another one, except where a fault happens: refused and
/// delayed calls complete on a thread of their own. What is held back when the last copy goes
/// completes then.
///
/// REQUIRES: where a handler ends the inner transport, the inner transport does not wait for the
/// thread that this handler runs on.
template <class Dispatcher>
class FaultInjector {
public:
    /// Without a plan nothing happens. Several injectors may share the thread for delayed calls.
    FaultInjector(Dispatcher inner, std::shared_ptr<FaultPlan> plan,
                  std::shared_ptr<DelayedCalls> delayed = nullptr)
        : delayed_(std::move(delayed)), plan_(std::move(plan)), inner_(std::move(inner)) {
        if (plan_ && !delayed_) {
            delayed_ = std::make_shared<DelayedCalls>();
        }
    }

    /// Counts the call and lets the fault happen that is planned for it.
    template <class Operation>
    void call(const Caller& caller, typename Operation::Request request,
              typename Operation::Handler handler) const {
        if (const auto fault = plan_ ? plan_->meet(Operation::name) : std::nullopt) {
            callFaulty<Operation>(*fault, caller, std::move(request), std::move(handler));
        } else {
            inner_.template call<Operation>(caller, std::move(request), std::move(handler));
        }
    }

    /// Cancels all calls, also those that a fault holds back.
    void cancelPendingCalls() const {
        group_->cancel();
        inner_.cancelPendingCalls();
        if (delayed_) {
            delayed_->queue()->hurryCancelled();
        }
    }

    /// Waits for all calls, also those that a fault holds back.
    void waitForPendingCalls() const {
        std::size_t entered = 0;
        do {  // A handler of either kind of call may have made one of the other kind.
            entered = group_->wait();
            inner_.waitForPendingCalls();
        } while (group_->entered() != entered);
    }

private:
    template <class Operation>
    void callFaulty(const Fault& fault, const Caller& caller, typename Operation::Request request,
                    typename Operation::Handler handler) const {
        using Response = typename Operation::Response;
        // The handler may hold the last of the transport, and run before this returns.
        const auto queue = delayed_->queue();
        auto call =
            std::make_shared<KeptCall<Response>>(group_, fault.dropHandler, std::move(handler));
        if (fault.error) {
            call->keep({}, std::make_exception_ptr(kvxclient::KVXClientException(*fault.error)));
            queue->add(std::move(call), fault.delay);
            return;
        }
        inner_.template call<Operation>(caller, std::move(request),
                                        [queue, call = std::move(call), delay = fault.delay](
                                            Response response, std::exception_ptr error) {
                                            call->keep(std::move(response), std::move(error));
                                            if (delay.count() > 0) {
                                                queue->add(call, delay);
                                            } else {
                                                call->finish();
                                            }
                                        });
    }

    std::shared_ptr<PendingCalls> group_ = std::make_shared<PendingCalls>();
    // In this order: the inner transport's end completes calls that are then held back.
    std::shared_ptr<DelayedCalls> delayed_;
    std::shared_ptr<FaultPlan> plan_;
    Dispatcher inner_;
};

}  // namespace storage::kvxtransport
