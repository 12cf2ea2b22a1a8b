#pragma once

/// @file
/// A decorator that lets planned faults happen on any transport.

#include <condition_variable>
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

namespace detail {

/// A call that a fault happens to, until its handler has returned or is let go of.
class FaultyCall : public PendingCall {
public:
    using PendingCall::PendingCall;
    virtual ~FaultyCall() = default;

    /// Completes the call; as cancelled when it was.
    virtual void finish() noexcept = 0;
};

/// One thread that finishes calls when they are due. It ends when they are finished.
class DelayedCalls {
public:
    DelayedCalls()
        : state_(std::make_shared<State>()), thread_([state = state_] { run(*state); }) {}
    /// Finishes all calls at once, and returns when that is done, but on its own thread.
    ~DelayedCalls() {
        {
            const std::lock_guard<std::mutex> lock(state_->mutex);
            state_->ending = true;
        }
        state_->changed.notify_all();
        if (thread_.get_id() == std::this_thread::get_id()) {
            thread_.detach();  // A handler holds the last of the transport.
        } else {
            thread_.join();
        }
    }
    DelayedCalls(const DelayedCalls&) = delete;
    DelayedCalls& operator=(const DelayedCalls&) = delete;

    void add(std::shared_ptr<FaultyCall> call, std::chrono::milliseconds delay) {
        {
            const std::lock_guard<std::mutex> lock(state_->mutex);
            state_->calls.emplace(std::chrono::steady_clock::now() + delay, std::move(call));
        }
        state_->changed.notify_all();
    }

    /// Finishes what is cancelled without further delay.
    void hurryCancelled() {
        {
            const std::lock_guard<std::mutex> lock(state_->mutex);
            Queue hurried;
            for (auto& [due, call] : state_->calls) {
                const bool cancelled = call->isCancelled();
                hurried.emplace(cancelled ? TimePoint() : due, std::move(call));
            }
            state_->calls = std::move(hurried);
        }
        state_->changed.notify_all();
    }

private:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Queue = std::multimap<TimePoint, std::shared_ptr<FaultyCall>>;

    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        Queue calls;
        bool ending = false;
    };

    static void run(State& state) {
        std::unique_lock<std::mutex> lock(state.mutex);
        while (!state.ending || !state.calls.empty()) {
            if (state.calls.empty()) {
                state.changed.wait(lock);
                continue;
            }
            const auto first = state.calls.begin();
            const TimePoint due = first->first;
            if (!state.ending && due > std::chrono::steady_clock::now()) {
                state.changed.wait_until(lock, due);
                continue;
            }
            std::shared_ptr<FaultyCall> call = std::move(first->second);
            state.calls.erase(first);
            lock.unlock();
            call->finish();
            call.reset();
            lock.lock();
        }
    }

    const std::shared_ptr<State> state_;
    std::thread thread_;
};

}  // namespace detail

/// A dispatcher that passes calls on to another one, except where a fault happens: refused and
/// delayed calls complete on a thread of the injector.
template <class Dispatcher>
class FaultInjector {
public:
    /// Without a plan nothing happens.
    FaultInjector(Dispatcher inner, std::shared_ptr<FaultPlan> plan)
        : faulty_(plan ? std::make_shared<Faulty>() : nullptr),
          plan_(std::move(plan)),
          inner_(std::move(inner)) {}

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
        if (faulty_) {
            faulty_->group->cancel();
        }
        inner_.cancelPendingCalls();
        if (faulty_) {
            faulty_->delayed.hurryCancelled();
        }
    }

    /// Waits for all calls, also those that a fault holds back.
    void waitForPendingCalls() const {
        inner_.waitForPendingCalls();
        if (faulty_) {
            faulty_->group->wait();
        }
    }

private:
    struct Faulty {
        std::shared_ptr<PendingCalls> group = std::make_shared<PendingCalls>();
        detail::DelayedCalls delayed;
    };

    template <class Response>
    class Call final : public detail::FaultyCall {
    public:
        Call(std::shared_ptr<PendingCalls> group, bool dropsHandler,
             kvxclient::CompletionHandler<Response> handler)
            : FaultyCall(std::move(group)),
              dropsHandler_(dropsHandler),
              handler_(std::move(handler)) {}

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

    template <class Operation>
    void callFaulty(const Fault& fault, const Caller& caller, typename Operation::Request request,
                    typename Operation::Handler handler) const {
        using Response = typename Operation::Response;
        auto call =
            std::make_shared<Call<Response>>(faulty_->group, fault.dropHandler, std::move(handler));
        if (fault.error) {
            call->keep({}, std::make_exception_ptr(kvxclient::KVXClientException(*fault.error)));
            faulty_->delayed.add(std::move(call), fault.delay);
            return;
        }
        inner_.template call<Operation>(
            caller, std::move(request),
            [faulty = faulty_, call = std::move(call), delay = fault.delay](
                Response response, std::exception_ptr error) {
                call->keep(std::move(response), std::move(error));
                if (delay.count() > 0 && !call->isCancelled()) {
                    faulty->delayed.add(call, delay);
                } else {
                    call->finish();
                }
            });
    }

    // In this order: the inner transport's end completes calls that the others take.
    std::shared_ptr<Faulty> faulty_;
    std::shared_ptr<FaultPlan> plan_;
    Dispatcher inner_;
};

}  // namespace storage::kvxtransport
