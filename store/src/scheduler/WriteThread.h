#pragma once

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "scheduler/JobQueue.h"
#include "scheduler/Postponement.h"

namespace storage::kvxstore::scheduler {

/// What a thread does beside its jobs; none for all but one thread. A little cleaning, in the
/// transaction that the connection is in; returns after how long there is more, even if nothing was
/// written: zero for at once.
using BackgroundTask = std::function<std::chrono::milliseconds(database::Connection&)>;

/// Takes a job that has run.
using Finish = std::function<void(std::unique_ptr<Job>, std::exception_ptr)>;

/// A thread that writes: the only one, or one of several where the database lets many write. It
/// commits what waits in its queue together, since a commit costs far more than the work in it.
class WriteThread {
public:
    WriteThread(std::unique_ptr<database::Connection> connection, JobQueue& queue, Finish finish,
                BackgroundTask task);
    /// Returns when the thread has seen that the queue is closed.
    ~WriteThread();
    WriteThread(const WriteThread&) = delete;
    WriteThread& operator=(const WriteThread&) = delete;

private:
    void work();
    std::vector<std::exception_ptr> commitTogether(const Jobs& jobs);
    std::vector<std::exception_ptr> tryTogether(const Jobs& jobs);
    /// Does the work of one transaction, and again while others are in its way.
    template <class Work>
    auto persist(Work work);
    /// Finds the buckets that the next transactions have to lock.
    template <class SomeJobs>
    void planFor(const SomeJobs& jobs);
    /// Returns false when a job failed after it had written, which has to be undone.
    bool runAll(const Jobs& jobs, std::vector<std::exception_ptr>& errors);
    void beginBatch(std::optional<database::Transaction>& transaction);
    std::exception_ptr commitAlone(Job& job);
    /// Returns false when the job has to run again, after the work that it was postponed for.
    bool runAlone(Job& job);
    std::exception_ptr runInSavepoint(Job& job);
    void run(Job& job);
    /// Runs those once more that the full disk made fail, when there is room again.
    void retryFull(const Jobs& jobs, std::vector<std::exception_ptr>& errors);
    void makeRoom(std::size_t bytes);
    void runTask(bool idle);
    void cleanAtTheEnd();
    std::chrono::milliseconds runPortion();
    bool giveRoomBack(std::size_t bytes, std::size_t kept);
    void runPostponed(Job& job, const Postponement& postponement);
    void letOthersWrite();

    std::unique_ptr<database::Connection> connection_;
    /// The buckets that the transaction locks.
    std::set<std::int64_t> locks_;
    JobQueue& queue_;
    Finish finish_;
    BackgroundTask task_;
    /// What was written since the task found nothing more to do, and since it ran.
    std::size_t uncleaned_ = 0;
    std::size_t load_ = 0;
    std::chrono::steady_clock::time_point taskDue_;
    std::chrono::steady_clock::time_point taskDone_;
    std::chrono::steady_clock::time_point contended_{};
    std::thread thread_;
};

}  // namespace storage::kvxstore::scheduler
