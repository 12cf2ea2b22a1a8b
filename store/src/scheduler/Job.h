#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_set>

#include "database/Connection.h"

namespace storage::kvxstore::scheduler {

class CallGroup;

/// What the scheduler must know of a job.
struct JobTraits {
    database::Access access = database::Access::READ;
    /// Bytes of content that the job carries.
    std::size_t weight = 0;
    /// Jobs with the same text run in the order in which they came; an empty one binds nothing.
    std::string sequence = {};
    /// How long its completion is held back.
    std::chrono::milliseconds delay = {};
};

/// One call on its way: run by a worker, then finished on a completion thread. It has one owner at
/// a time, which is why it is finished exactly once.
class Job {
public:
    Job(JobTraits traits, std::shared_ptr<CallGroup> group);
    /// Takes the call out of its group: by then the handler and what it holds are gone.
    virtual ~Job();
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    /// Does the work in the transaction that the connection is in. May be run again in another
    /// transaction when the first one is undone.
    virtual void run(database::Connection& connection) = 0;

    /// Hands over the outcome; BAD_NETWORK if the job was cancelled.
    void finish(std::exception_ptr error) noexcept;

    void cancel() { cancelled_ = true; }
    bool isCancelled() const { return cancelled_; }

    const JobTraits& traits() const { return traits_; }

protected:
    virtual void deliver(std::exception_ptr error) = 0;

private:
    JobTraits traits_;
    std::shared_ptr<CallGroup> group_;
    std::atomic<bool> cancelled_ = false;
};

/// The outstanding calls of one client and its services.
class CallGroup {
public:
    void cancelAll() const;
    void waitUntilEmpty() const;

private:
    friend class Job;

    mutable std::mutex mutex_;
    mutable std::condition_variable emptied_;
    std::unordered_set<Job*> jobs_;
};

/// The error of a call that was given up before it was done.
std::exception_ptr badNetwork();

}  // namespace storage::kvxstore::scheduler
