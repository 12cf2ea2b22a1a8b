#pragma once

#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "scheduler/CompletionPool.h"
#include "scheduler/Sequencer.h"
#include "scheduler/Writer.h"

namespace storage::kvxstore::scheduler {

/// Brings jobs to the threads that run them, and their outcomes to the threads that finish them.
class Scheduler {
public:
    Scheduler(const database::Connector& connect, unsigned readers, Chore chore);
    /// Jobs that have not begun are finished with BAD_NETWORK.
    ~Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    /// Queues a job; waits for room, but not on a thread of a store.
    void submit(std::unique_ptr<Job> job);

    /// Finishes a job that was not submitted.
    void refuse(std::unique_ptr<Job> job, std::exception_ptr error);

    /// Has everything outstanding in the group finished with BAD_NETWORK.
    void cancel(const CallGroup& group);

private:
    void read(database::Connection& connection);
    JobQueue& queueFor(const Job& job);
    /// Finishes a job that was submitted.
    void finish(std::unique_ptr<Job> job, std::exception_ptr error);

    // In this order: the completions must outlive the workers.
    CompletionPool completions_;
    JobQueue writes_;
    JobQueue reads_;
    Sequencer sequencer_;
    std::vector<std::thread> readers_;
    std::optional<Writer> writer_;
};

}  // namespace storage::kvxstore::scheduler
