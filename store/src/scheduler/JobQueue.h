#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>
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

    /// `takers` is how many threads take jobs.
    explicit JobQueue(unsigned takers = 1) : takers_(takers) {}

    /// Waits for jobs and takes up to maxJobs of them, and no second one beyond maxWeight. Empty
    /// when the time is over or the queue is closed. With several takers, leaves out the keys that
    /// others have, and leaves their share of keys to those that wait as well.
    Jobs pop(std::size_t maxJobs, std::size_t maxWeight, std::chrono::milliseconds patience);

    /// Says that the jobs of a pop() have run, so that others of their keys may.
    void done(const Jobs& jobs);

    /// Waits until so many more jobs have come, or maxJobs are here, or the time is over.
    void gather(std::size_t moreJobs, std::size_t maxJobs, std::chrono::nanoseconds patience);

    /// Takes the cancelled jobs out of the queue.
    Jobs takeCancelled();

    bool isClosed() const;

    /// Ends all waiting and returns the jobs that nobody took.
    Jobs close();

private:
    bool hasRoomFor(const Job& job) const;
    bool isFree(const Job& job) const { return !busy_.contains(job.traits().key); }
    bool hasFree() const;
    std::size_t shareOfKeys() const;

    mutable std::mutex mutex_;
    std::condition_variable filled_;
    std::condition_variable drained_;
    std::deque<std::unique_ptr<Job>> jobs_;
    std::size_t weight_ = 0;
    const unsigned takers_;
    unsigned waiting_ = 0;
    /// The keys of the jobs that were taken and have not run.
    std::unordered_set<std::string> busy_;
    bool closed_ = false;
};

}  // namespace storage::kvxstore::scheduler
