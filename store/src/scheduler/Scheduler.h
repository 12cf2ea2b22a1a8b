#pragma once

#include <memory>
#include <thread>
#include <vector>

#include "scheduler/CompletionPool.h"
#include "scheduler/Strands.h"
#include "scheduler/WriteThread.h"

namespace storage::kvxstore::scheduler {

/// Brings jobs to the threads that run them, and their outcomes to the threads that finish them.
class Scheduler {
public:
    Scheduler(const database::Connector& connect, const database::Threads& threads,
              BackgroundTask task);
    /// Jobs that have not begun are finished with BAD_NETWORK.
    ~Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    /// Queues a job; waits for room, but not on a thread of a store.
    void submit(std::unique_ptr<Job> job);

    /// Finishes the cancelled jobs that have not begun.
    void finishCancelled();

private:
    void read(database::Connection& connection);
    JobQueue& queueFor(const Job& job);
    /// Finishes a job that was in a queue.
    void finish(std::unique_ptr<Job> job, std::exception_ptr error);

    // In this order: the completions must outlive the workers.
    CompletionPool completions_;
    JobQueue writes_;
    JobQueue reads_;
    Strands strands_;
    std::vector<std::thread> readers_;
    std::vector<std::unique_ptr<WriteThread>> writers_;
};

}  // namespace storage::kvxstore::scheduler
