#include "storage/kvxstore/FaultPlan.h"

#include <utility>

namespace storage::kvxstore {

FaultPlan::FaultPlan() = default;

FaultPlan::FaultPlan(std::vector<Fault> faults) {
    for (Fault& fault : faults) {
        add(std::move(fault));
    }
}

FaultPlan::~FaultPlan() = default;

void FaultPlan::add(Fault fault) {
    const std::lock_guard lock(mutex_);
    planned_.push_back({std::move(fault)});
}

std::vector<Fault> FaultPlan::fired() const {
    const std::lock_guard lock(mutex_);
    return fired_;
}

std::optional<Fault> FaultPlan::meet(std::string_view operation) {
    const std::lock_guard lock(mutex_);
    std::optional<Fault> met;
    for (auto& [fault, calls] : planned_) {
        const bool matches = fault.operation.empty() || fault.operation == operation;
        if (matches && ++calls == fault.call && !met) {
            met = fault;
            fired_.push_back(fault);
        }
    }
    return met;
}

}  // namespace storage::kvxstore
