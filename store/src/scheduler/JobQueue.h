#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "scheduler/Job.h"

namespace storage::kvxstore::scheduler {

using Jobs = std::vector<std::unique_ptr<Job>>;

/// Jobs that wait for a worker, in order. Bounded in number and weight, but one job always fits.
class JobQueue {
public:
    enum class WhenFull { WAIT, EXCEED };

    /// False when the queue is closed; the job is then still the caller's.
    bool push(std::unique_ptr<Job>& job, WhenFull whenFull);

    /// Waits for jobs and takes up to maxJobs of them, and no second one beyond maxWeight. Empty
    /// when the time is over or the queue is closed.
    Jobs pop(std::size_t maxJobs, std::size_t maxWeight, std::chrono::milliseconds patience);

    /// Waits until so many more jobs have come, or maxJobs are here, or the time is over.
    void gather(std::size_t moreJobs, std::size_t maxJobs, std::chrono::nanoseconds patience);

    /// Takes the cancelled jobs out of the queue.
    Jobs takeCancelled();

    bool isClosed() const;

    /// Ends all waiting and returns the jobs that nobody took.
    Jobs close();

private:
    bool hasRoomFor(const Job& job) const;

    mutable std::mutex mutex_;
    std::condition_variable filled_;
    std::condition_variable drained_;
    std::deque<std::unique_ptr<Job>> jobs_;
    std::size_t weight_ = 0;
    bool closed_ = false;
};

}  // namespace storage::kvxstore::scheduler
