#pragma once

#include <future>
#include <stdexcept>
#include <utility>

#include "core/Context.h"
#include "scheduler/Job.h"
#include "services/Engine.h"

namespace storage::kvxstore::services {

/// A piece of administration on its way through the scheduler. Its result is waited for.
template <class Work>
class AdministrationCall final : public scheduler::Job {
public:
    using Result = std::invoke_result_t<Work, const Context&>;

    AdministrationCall(const Engine& engine, scheduler::JobTraits traits, Work work)
        : Job(std::move(traits)), engine_(engine), work_(std::move(work)) {}

    std::future<Result> result() { return promise_.get_future(); }

    void run(database::Connection& connection) override {
        result_ = work_(Context{connection, engine_.options(), engine_.instance()});
    }

    void finish(std::exception_ptr error) noexcept override {
        if (error) {
            promise_.set_exception(std::move(error));
        } else {
            promise_.set_value(std::move(result_));
        }
    }

private:
    const Engine& engine_;
    Work work_;
    Result result_{};
    std::promise<Result> promise_;
};

/// Does the work and returns its result. What it throws becomes a StoreError.
template <class Work>
auto withStoreErrors(Work work) {
    try {
        return work();
    } catch (const StoreError& error) {
        throw StoreError(error.code(), error.what());
    } catch (const std::exception& error) {
        throw StoreError(error.what());
    }
}

/// Does the work in a transaction of its own and returns its result. Throws a StoreError.
///
/// REQUIRES: not called on a thread of a store.
template <class Work>
auto administer(Engine& engine, database::Access access, Work work, bool usesSpareRoom = false,
                bool runsOnce = false) {
    auto call = std::make_unique<AdministrationCall<Work>>(
        engine, scheduler::JobTraits{access, 0, {}, usesSpareRoom, {}, runsOnce}, std::move(work));
    auto result = call->result();
    engine.scheduler().submit(std::move(call));
    return withStoreErrors([&] { return result.get(); });
}

}  // namespace storage::kvxstore::services
