#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "storage/kvxclient/KVXClientException.h"
#include "storage/kvxstore/Export.h"

namespace storage::kvxstore {

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

/// The faults to inject into the stores whose StoreOptions::faults has this plan. Any thread may
/// call any member, also while stores use the plan.
class KVXSTORE_EXPORT FaultPlan {
public:
    /// An empty plan.
    FaultPlan();
    /// Plans these faults, which count calls from now on.
    explicit FaultPlan(std::vector<Fault> faults);
    ~FaultPlan();
    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Plans another fault, which counts calls from now on.
    void add(Fault fault);

    /// The faults that happened, in the order of their calls.
    std::vector<Fault> fired() const;

    /// Counts a call of the operation and returns its fault, if it has one. Of several faults for
    /// one call only the one that was planned first happens. For the store.
    std::optional<Fault> meet(std::string_view operation);

private:
    struct Planned {
        Fault fault;
        unsigned long calls = 0;
    };

    mutable std::mutex mutex_;
    std::vector<Planned> planned_;
    std::vector<Fault> fired_;
};

}  // namespace storage::kvxstore
