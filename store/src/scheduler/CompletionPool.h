#pragma once

#include <array>
#include <exception>
#include <memory>
#include <thread>

#include "scheduler/Job.h"

namespace storage::kvxstore::scheduler {

/// The threads that finish jobs, and so run the callers' handlers. Its queue has no bound.
class CompletionPool {
public:
    CompletionPool();
    /// Returns when everything posted is finished, held back or not. On one of its own threads,
    /// which cannot wait for itself, that thread goes on alone.
    ~CompletionPool();
    CompletionPool(const CompletionPool&) = delete;
    CompletionPool& operator=(const CompletionPool&) = delete;

    void post(std::unique_ptr<Job> job, std::exception_ptr error);

private:
    struct State;

    std::shared_ptr<State> state_;
    std::array<std::thread, 2> threads_;
};

/// Whether this thread belongs to a store, and so must not wait for room in a queue.
bool& onStoreThread();

}  // namespace storage::kvxstore::scheduler
