#pragma once

/// @file
/// A transport that does what a test says.

#include <any>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "storage/kvxtransport/FaultInjector.h"

namespace storage::kvxtesting {

/// A dispatcher without a service behind it. Each call ends as its script says; without one it
/// succeeds at once with an empty response. Copies are the same transport. Any thread may call any
/// member.
///
/// When a call ends: inline, before its function returns, unless the script has after() or
/// whenTold(). Cancelled calls that wait end with BAD_NETWORK, as do those that wait when the last
/// copy goes.
class ScriptedTransport {
public:
    /// Carries out a call. It may keep the handler, and call it on any thread.
    template <class Operation>
    using Script = std::function<void(typename Operation::Request, typename Operation::Handler)>;

private:
    using FaultyCall = kvxtransport::FaultyCall;

    /// How a call ends, and when.
    template <class Operation>
    struct Plan {
        Script<Operation> script;
        typename Operation::Response response{};
        std::exception_ptr error;
        bool drops = false;
        bool held = false;
        std::chrono::milliseconds delay{-1};
    };
    template <class Operation>
    struct Plans {
        using Shared = std::shared_ptr<const Plan<Operation>>;
        unsigned long calls = 0;
        Shared all;
        std::map<unsigned long, Shared> ofCall;
    };
    struct State {
        State() { reached.reserve(64); }  // So that calls without a script allocate nothing.
        ~State() { endHeld(); }

        void endHeld() {
            group->cancel();
            for (const auto& call : take(SIZE_MAX)) {
                call->finish();
            }
        }
        std::vector<std::shared_ptr<FaultyCall>> take(std::size_t most) {
            const std::lock_guard<std::mutex> lock(mutex);
            const auto end =
                held.begin() + static_cast<std::ptrdiff_t>(std::min(most, held.size()));
            std::vector<std::shared_ptr<FaultyCall>> taken(held.begin(), end);
            held.erase(held.begin(), end);
            return taken;
        }

        std::mutex mutex;
        std::vector<std::string_view> reached;
        std::map<std::string_view, std::any> plans;
        std::vector<std::shared_ptr<FaultyCall>> held;
        std::condition_variable isHeld;
        const std::shared_ptr<kvxtransport::PendingCalls> group =
            std::make_shared<kvxtransport::PendingCalls>();
        std::unique_ptr<kvxtransport::DelayedCalls> delayed;
    };

public:
    /// The script of an operation, or of one of its calls: how a call ends, and when. Each member
    /// takes the place of what was said before of the same, holds for calls made from then on, and
    /// returns the script itself.
    template <class Operation>
    class Calls {
    public:
        /// The call succeeds with this response.
        const Calls& answers(typename Operation::Response response) const {
            return ends([&](auto& plan) { plan.response = std::move(response); });
        }
        /// The call fails with this code.
        const Calls& fails(kvxclient::KVXClientErrorCode code) const {
            return fails(std::make_exception_ptr(kvxclient::KVXClientException(code)));
        }
        /// The call fails with this exception.
        const Calls& fails(std::exception_ptr error) const {
            return ends([&](auto& plan) { plan.error = std::move(error); });
        }
        /// The handler is destroyed uncalled, as when an answer is lost.
        const Calls& drops() const {
            return ends([](auto& plan) { plan.drops = true; });
        }
        /// The script carries out the call by itself, and sees to it when it ends.
        const Calls& runs(Script<Operation> script) const {
            return ends([&](auto& plan) { plan.script = std::move(script); });
        }

        /// The call ends inline, as without this, whatever was said before.
        const Calls& atOnce() const { return when(false, std::chrono::milliseconds(-1)); }
        /// The call ends after so many milliseconds, on a thread of the transport; 0 for at once.
        const Calls& after(std::chrono::milliseconds delay) const { return when(false, delay); }
        /// The call ends when release() says so, on the thread that calls it.
        const Calls& whenTold() const { return when(true, std::chrono::milliseconds(-1)); }

    private:
        friend class ScriptedTransport;

        Calls(std::shared_ptr<State> state, unsigned long call)
            : state_(std::move(state)), call_(call) {}

        template <class Change>
        const Calls& ends(Change change) const {
            return this->change([&](auto& plan) {
                Plan<Operation> changed;
                changed.held = plan.held;
                changed.delay = plan.delay;
                change(changed);
                plan = std::move(changed);
            });
        }
        const Calls& when(bool held, std::chrono::milliseconds delay) const {
            return change([&](auto& plan) {
                plan.held = held;
                plan.delay = delay;
            });
        }
        template <class Change>
        const Calls& change(Change change) const {
            const std::lock_guard<std::mutex> lock(state_->mutex);
            auto& shared = planOf(*state_, call_);
            auto plan = shared ? std::make_shared<Plan<Operation>>(*shared)
                               : std::make_shared<Plan<Operation>>();
            change(*plan);
            shared = std::move(plan);
            return *this;
        }
        static auto& planOf(State& state, unsigned long call) {
            std::any& any = state.plans[Operation::name];
            if (!any.has_value()) {
                any = Plans<Operation>();
            }
            auto& plans = std::any_cast<Plans<Operation>&>(any);
            return call == 0 ? plans.all : plans.ofCall[plans.calls + call];
        }

        std::shared_ptr<State> state_;
        unsigned long call_;
    };

    /// A transport of its own, without any script.
    ScriptedTransport() : state_(std::make_shared<State>()) {}

    /// The script of all calls of an operation that have none of their own.
    template <class Operation>
    Calls<Operation> on() const {
        return {state_, 0};
    }
    /// The script of one call of an operation: 1 is the next one.
    template <class Operation>
    Calls<Operation> on(unsigned long call) const {
        return {state_, call};
    }
    /// Ends the calls that wait to be told, the oldest first, at most so many. Returns how many.
    std::size_t release(std::size_t most = SIZE_MAX) const {
        const auto calls = state_->take(most);
        for (const auto& call : calls) {
            call->finish();
        }
        return calls.size();
    }
    /// How many calls wait to be told.
    std::size_t waiting() const {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        return state_->held.size();
    }
    /// Waits until at least so many calls wait to be told, at most this long. Returns whether they
    /// do.
    bool waitUntilWaiting(std::size_t calls,
                          std::chrono::milliseconds most = std::chrono::seconds(20)) const {
        std::unique_lock<std::mutex> lock(state_->mutex);
        return state_->isHeld.wait_for(lock, most, [&] { return state_->held.size() >= calls; });
    }
    /// The names of the operations that were called, in order, until clear().
    std::vector<std::string_view> reached() const {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        return state_->reached;
    }
    /// Forgets what was called.
    void clear() const {
        const std::lock_guard<std::mutex> lock(state_->mutex);
        state_->reached.clear();
    }

    /// Carries out a call, as its script says.
    template <class Operation>
    void call(const kvxtransport::Caller&, typename Operation::Request request,
              typename Operation::Handler handler) const {
        const auto state = state_;  // The handler may hold the last of the transport.
        const auto plan = planOfCall<Operation>(*state);
        if (!plan) {
            handler({}, nullptr);
        } else if (plan->script) {
            plan->script(std::move(request), std::move(handler));
        } else if (plan->held || plan->delay.count() >= 0) {
            endLater(*state, *plan, std::move(handler));
        } else if (!plan->drops) {
            handler(plan->response, plan->error);
        }
    }
    /// Ends the calls that wait with BAD_NETWORK.
    void cancelPendingCalls() const {
        const auto state = state_;
        state->endHeld();
        const std::lock_guard<std::mutex> lock(state->mutex);
        if (state->delayed) {
            state->delayed->queue()->hurryCancelled();
        }
    }
    /// Waits until no call waits.
    void waitForPendingCalls() const { state_->group->wait(); }

private:
    template <class Operation>
    static typename Plans<Operation>::Shared planOfCall(State& state) {
        const std::lock_guard<std::mutex> lock(state.mutex);
        state.reached.push_back(Operation::name);
        const auto found = state.plans.find(Operation::name);
        if (found == state.plans.end()) {
            return nullptr;
        }
        auto& plans = std::any_cast<Plans<Operation>&>(found->second);
        const auto own = plans.ofCall.find(++plans.calls);
        return own != plans.ofCall.end() ? own->second : plans.all;
    }

    template <class Operation>
    static void endLater(State& state, const Plan<Operation>& plan,
                         typename Operation::Handler handler) {
        const auto call = std::make_shared<kvxtransport::KeptCall<typename Operation::Response>>(
            state.group, plan.drops, std::move(handler));
        call->keep(plan.response, plan.error);
        std::unique_lock<std::mutex> lock(state.mutex);
        if (plan.held) {
            state.held.push_back(call);
            state.isHeld.notify_all();
            return;
        }
        if (!state.delayed) {
            state.delayed = std::make_unique<kvxtransport::DelayedCalls>();
        }
        const auto queue = state.delayed->queue();
        lock.unlock();
        queue->add(call, plan.delay);
    }

    std::shared_ptr<State> state_;
};

/// A service over a scripted transport, which the test reaches by `transport`.
template <template <class> class DispatchingService>
struct Scripted : DispatchingService<ScriptedTransport> {
    /// A service with these strings, and a transport of its own unless one is given.
    explicit Scripted(
        std::string endpoint = "endpoint",
        std::function<std::string()> supplier = [] { return std::string("session"); },
        std::string applicationId = "application", ScriptedTransport script = {})
        : DispatchingService<ScriptedTransport>(std::move(endpoint), std::move(supplier),
                                                std::move(applicationId), script),
          transport(script) {}
    /// What the service's calls reach.
    const ScriptedTransport transport;
};

using ScriptedFileAccess = Scripted<kvxtransport::DispatchingFileAccess>;        ///< See Scripted.
using ScriptedAccessControl = Scripted<kvxtransport::DispatchingAccessControl>;  ///< See Scripted.
using ScriptedConfigurationManagement =
    Scripted<kvxtransport::DispatchingConfigurationManagement>;                ///< See Scripted.
using ScriptedNotification = Scripted<kvxtransport::DispatchingNotification>;  ///< See Scripted.

/// IVersioning over a scripted transport.
struct ScriptedVersioning : kvxtransport::DispatchingVersioning<ScriptedTransport> {
    /// A service with a transport of its own unless one is given.
    explicit ScriptedVersioning(ScriptedTransport script = {})
        : DispatchingVersioning([] { return std::string(); }, "", script), transport(script) {}
    /// What the service's calls reach.
    const ScriptedTransport transport;
};

/// A client over a scripted transport, which its services share.
struct ScriptedClient : kvxtransport::DispatchingClient<ScriptedTransport> {
    /// A client with a transport of its own unless one is given.
    explicit ScriptedClient(std::string endpoint = "endpoint", ScriptedTransport script = {})
        : DispatchingClient(std::move(endpoint), script), transport(script) {}
    /// What the calls of the client and its services reach.
    const ScriptedTransport transport;
};

}  // namespace storage::kvxtesting
