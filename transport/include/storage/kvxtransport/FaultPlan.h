#pragma once

/// @file
/// Faults to happen on purpose, planned.

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtransport {

/// A fault to happen on purpose, so that an application can test how it copes.
struct Fault {
    /// The operation by its name in the service interface, such as "createFile"; empty for any.
    std::string operation = {};
    /// Which of its calls it happens to, counted from 1 when the fault is planned, over all
    /// transports that use the plan.
    unsigned long call = 1;
    /// Refuses the call with this code: it takes no effect. Empty lets it take its course.
    std::optional<kvxclient::KVXClientErrorCode> error = {};
    /// Holds the completion back for so long; the call takes effect without delay.
    std::chrono::milliseconds delay = {};
    /// Lets go of the handler without a call of it, as when an answer is lost; a future form then
    /// reports std::future_errc::broken_promise.
    bool dropHandler = false;
};

/// The faults of one or several transports. Every member may be called from any thread, also while
/// transports use the plan.
class FaultPlan {
public:
    /// Plans nothing yet.
    FaultPlan() = default;
    /// Plans these faults, each counting from now.
    explicit FaultPlan(std::vector<Fault> faults) {
        for (Fault& fault : faults) {
            add(std::move(fault));
        }
    }
    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Plans one more fault, counting from now.
    void add(Fault fault) {
        const std::lock_guard<std::mutex> lock(mutex_);
        planned_.push_back({std::move(fault)});
    }

    /// The faults that happened, in that order.
    std::vector<Fault> fired() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return fired_;
    }

    /// Counts a call of the operation and returns the fault that happens to it; of several, the
    /// one planned first, and the others never. For transports.
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
