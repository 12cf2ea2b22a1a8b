#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "scheduler/JobQueue.h"

namespace storage::kvxstore::scheduler {

/// Keeps jobs of the same strand in order though readers and the write thread run side by side: it
/// holds a job back while jobs of the other access that came before it have not run. Jobs of the
/// same access go on together: writes keep their order in the queue, and that of reads is not seen.
class Strands {
public:
    /// Queues a job that was held. Called under the lock of the strands, so that no job which comes
    /// now overtakes it; so it must not wait.
    using Release = std::function<void(std::unique_ptr<Job>)>;

    explicit Strands(Release release) : release_(std::move(release)) {}

    /// True when the job may be queued now; else it is held. Waits for room, or
    /// exceeds it, as JobQueue::push() does.
    bool admit(std::unique_ptr<Job>& job, JobQueue::WhenFull whenFull);

    /// Takes note that a job has run or never will, and releases those that waited for it.
    void leave(const Job& job);

    /// Takes out the held jobs that were cancelled, and releases those that waited for them.
    Jobs takeCancelled();

    /// Takes out all held jobs; from now on nothing is held.
    Jobs close();

private:
    struct Strand {
        database::Access access = database::Access::READ;
        /// Admitted and not yet gone.
        std::size_t admitted = 0;
        std::deque<std::unique_ptr<Job>> held;
    };

    void releaseNext(Strand& strand);

    const Release release_;
    std::mutex mutex_;
    std::condition_variable drained_;
    std::map<std::string, Strand> strands_;
    std::size_t held_ = 0;
    bool closed_ = false;
};

}  // namespace storage::kvxstore::scheduler
