#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <map>
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
    /// Returns when everything posted is finished, held back or not.
    ~CompletionPool();
    CompletionPool(const CompletionPool&) = delete;
    CompletionPool& operator=(const CompletionPool&) = delete;

    void post(std::unique_ptr<Job> job, std::exception_ptr error);

    /// Holds back no longer what was cancelled.
    void hurryCancelled();

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
    std::multimap<std::chrono::steady_clock::time_point, Completion> delayed_;
    bool stopping_ = false;
    std::array<std::thread, 2> threads_;
};

/// Whether this thread belongs to a store, and so must not wait for room in a queue.
bool& onStoreThread();

}  // namespace storage::kvxstore::scheduler
