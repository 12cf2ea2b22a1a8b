#pragma once

#include <array>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "scheduler/Job.h"

namespace storage::kvxstore::scheduler {

/// The threads that finish jobs, and so run the callers' handlers. Its queue has no bound.
class CompletionPool {
public:
    CompletionPool();
    /// Returns when everything posted is finished.
    ~CompletionPool();
    CompletionPool(const CompletionPool&) = delete;
    CompletionPool& operator=(const CompletionPool&) = delete;

    void post(std::unique_ptr<Job> job, std::exception_ptr error);

private:
    struct Completion {
        std::unique_ptr<Job> job;
        std::exception_ptr error;
    };

    void work();
    std::optional<Completion> next();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Completion> completions_;
    bool stopping_ = false;
    std::array<std::thread, 2> threads_;
};

/// Whether this thread belongs to a store, and so must not wait for room in a queue.
bool& onStoreThread();

}  // namespace storage::kvxstore::scheduler
