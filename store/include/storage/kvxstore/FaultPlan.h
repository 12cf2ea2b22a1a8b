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

/// A fault to happen on purpose, so that an application can test how it copes.
struct Fault {
    /// The operation by its name in the service interface, such as "createFile"; empty for any.
    std::string operation = {};
    /// Which of its calls it happens to, counted from 1, of all clients of the store, from when the
    /// fault was planned.
    unsigned long call = 1;
    /// Refuses the call with this code: it takes no effect. Empty lets it take its course.
    std::optional<kvxclient::KVXClientErrorCode> error = {};
    /// Holds the completion back for so long; the call takes effect without delay.
    std::chrono::milliseconds delay = {};
    /// Lets go of the handler without a call of it, as when an answer is lost; a future form then
    /// reports std::future_errc::broken_promise.
    bool dropHandler = false;
};

/// The faults of one or several stores, given to StoreOptions::faults. Every member may be called
/// from any thread, also while stores use the plan.
class KVXSTORE_EXPORT FaultPlan {
public:
    /// Plans nothing yet.
    FaultPlan();
    /// Plans these faults, each counting from now.
    explicit FaultPlan(std::vector<Fault> faults);
    ~FaultPlan();
    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Plans one more fault, counting from now.
    void add(Fault fault);

    /// The faults that happened, in that order.
    std::vector<Fault> fired() const;

    /// Counts a call of the operation and returns the fault that happens to it; of several, the
    /// one planned first, and the others never. For the store.
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
