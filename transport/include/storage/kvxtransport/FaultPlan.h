#pragma once

/// @file
/// Faults to inject, planned.

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtransport {

/// A fault to inject, so that a test can see how an application copes with it.
struct Fault {
    /// The operation by its name in the service interface, such as "createFile"; empty for any.
    std::string operation = {};
    /// The call that has the fault: 1 is the first one after the fault was planned, whichever
    /// client makes it.
    unsigned long call = 1;
    /// The code that refuses the call, which then has no effect. Empty lets the call proceed.
    std::optional<kvxclient::KVXClientErrorCode> error = {};
    /// How long the completion is held back. The call takes effect without delay.
    std::chrono::milliseconds delay = {};
    /// Destroys the handler without calling it, as when an answer is lost. A future form then
    /// reports std::future_errc::broken_promise.
    bool dropHandler = false;
};

/// The faults to inject into one or several transports. Any thread may call any member, also while
/// transports use the plan.
class FaultPlan {
public:
    /// An empty plan.
    FaultPlan() = default;
    /// Plans these faults, which count calls from now on.
    explicit FaultPlan(std::vector<Fault> faults) {
        for (Fault& fault : faults) {
            add(std::move(fault));
        }
    }
    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Plans another fault, which counts calls from now on.
    void add(Fault fault) {
        const std::lock_guard<std::mutex> lock(mutex_);
        planned_.push_back({std::move(fault)});
    }

    /// The faults that happened, in the order of their calls.
    std::vector<Fault> fired() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return fired_;
    }

    /// Counts a call of the operation and returns its fault, if it has one. Of several faults for
    /// one call only the one that was planned first happens. For transports.
    std::optional<Fault> meet(std::string_view operation) {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::optional<Fault> met;
        for (Planned& each : planned_) {
            const bool matches = each.fault.operation.empty() || each.fault.operation == operation;
            if (matches && ++each.calls == each.fault.call && !met) {
                met = each.fault;
                fired_.push_back(each.fault);
            }
        }
        return met;
    }

private:
    struct Planned {
        Fault fault;
        unsigned long calls = 0;
    };

    mutable std::mutex mutex_;
    std::vector<Planned> planned_;
    std::vector<Fault> fired_;
};

}  // namespace storage::kvxtransport
