#include "scheduler/WriteThread.h"

#include <algorithm>
#include <array>

#include "scheduler/CompletionPool.h"

namespace storage::kvxstore::scheduler {

namespace {

using namespace std::chrono_literals;
using database::Access;
using database::LocksNeeded;
using database::Transaction;
using database::TransientError;

constexpr std::size_t batchJobs = 256;
constexpr std::size_t batchWeight = 4UL << 20U;
constexpr auto idleTime = 50ms;
/// Between tries of a transaction that others are in the way of.
constexpr std::chrono::milliseconds longestPause = 50ms;
/// How long the background task waits for an idle moment.
constexpr auto taskPatience = 10s;
/// When to try again what failed, perhaps since another program kept the store locked.
constexpr auto taskRetry = 10s;
/// A writer that never pauses cleans up all the same when it has written so many bytes, and a
/// little for each job, since there was nothing to clean: a portion each time that its load is so
/// much.
constexpr std::size_t mostUncleaned = 16UL << 20U;
constexpr std::size_t bytesOfJob = 1UL << 10U;
constexpr std::size_t loadOfPortion = 8UL << 20U;
constexpr std::size_t loadOfJob = 128UL << 10U;

/// What an idle store gives back at once, the unused room that it keeps, and the log that it
/// leaves.
constexpr std::size_t idlePortion = 4UL << 20U;
constexpr std::size_t idleRoom = 8UL << 20U;
constexpr std::size_t idleLog = 32UL << 20U;
/// On a full disk the log gets no longer than this, and no call waits longer for room.
constexpr std::size_t fullLog = 1UL << 20U;
constexpr auto fullPatience = 5s;

bool isFull(const std::exception_ptr& error) {
    try {
        if (error) {
            std::rethrow_exception(error);
        }
    } catch (const StoreError& failure) {
        return failure.code() == StoreErrorCode::FULL;
    } catch (...) {
    }
    return false;
}

}  // namespace

WriteThread::WriteThread(std::unique_ptr<database::Connection> connection, JobQueue& queue,
                         Finish finish, BackgroundTask task)
    : connection_(std::move(connection)),
      queue_(queue),
      finish_(std::move(finish)),
      task_(std::move(task)),
      taskDue_(std::chrono::steady_clock::now() + idleTime),
      taskDone_(taskDue_),
      thread_([this] { work(); }) {}

WriteThread::~WriteThread() { thread_.join(); }

void WriteThread::work() {
    onStoreThread() = true;
    for (;;) {
        const auto idle = std::chrono::ceil<std::chrono::milliseconds>(
            taskDue_ - std::chrono::steady_clock::now());
        Jobs jobs = queue_.pop(batchJobs, batchWeight, std::max(idle, 0ms));
        const auto now = std::chrono::steady_clock::now();
        if (!jobs.empty()) {
            auto errors = commitTogether(jobs);
            retryFull(jobs, errors);
            queue_.done(jobs);
            for (std::size_t i = 0; i < jobs.size(); ++i) {
                uncleaned_ += bytesOfJob + jobs[i]->traits().weight;
                load_ += loadOfJob + jobs[i]->traits().weight;
                finish_(std::move(jobs[i]), std::move(errors[i]));
            }
            // Whoever got an answer is likely to call again, and a commit costs the same for all.
            queue_.gather(jobs.size(), batchJobs, (std::chrono::steady_clock::now() - now) / 4);
            taskDue_ = std::min(now + idleTime, taskDone_ + taskPatience);
        } else if (queue_.isClosed()) {
            cleanAtTheEnd();
            return;
        }
        if (now >= taskDue_ || (uncleaned_ >= mostUncleaned && load_ >= loadOfPortion)) {
            runTask(jobs.empty());
        }
        letOthersWrite();
    }
}

template <class Work>
auto WriteThread::persist(Work work) {
    const auto deadline = std::chrono::steady_clock::now() + connection_->lockPatience();
    for (std::chrono::milliseconds pause = 1ms;; pause = std::min(2 * pause, longestPause)) {
        try {
            return work();
        } catch (const LocksNeeded& needed) {
            locks_.insert(needed.buckets.begin(), needed.buckets.end());
            connection_->countRepeat();
            continue;
        } catch (const TransientError&) {
            if (std::chrono::steady_clock::now() > deadline) {
                throw;
            }
            connection_->countRepeat();
        }
        std::this_thread::sleep_for(pause);
    }
}

template <class SomeJobs>
void WriteThread::planFor(const SomeJobs& jobs) {
    locks_.clear();
    if (!connection_->sharesWriting()) {
        return;
    }
    database::BucketPlan plan;
    for (const auto& job : jobs) {
        job->plan(plan);
    }
    locks_ = persist([&] { return plan.find(*connection_); });
}

std::vector<std::exception_ptr> WriteThread::commitTogether(const Jobs& jobs) {
    try {
        planFor(jobs);
        return persist([&] { return tryTogether(jobs); });
    } catch (...) {
        return std::vector<std::exception_ptr>(jobs.size(), std::current_exception());
    }
}

std::vector<std::exception_ptr> WriteThread::tryTogether(const Jobs& jobs) {
    std::vector<std::exception_ptr> errors(jobs.size());
    std::optional<Transaction> transaction;
    beginBatch(transaction);
    try {
        // A savepoint costs as much as the work in it, and a job that fails has seldom written.
        if (!runAll(jobs, errors)) {
            transaction.reset();
            beginBatch(transaction);
            for (std::size_t i = 0; i < jobs.size(); ++i) {
                errors[i] = runInSavepoint(*jobs[i]);
            }
        }
        transaction->commit();
        return errors;
    } catch (const LocksNeeded&) {
        throw;
    } catch (const TransientError&) {
        throw;
    } catch (const Postponement&) {
        transaction.reset();
    } catch (...) {
        transaction.reset();
        if (jobs.size() == 1) {
            errors.front() = std::current_exception();
            return errors;
        }
    }
    // The whole batch is undone, though perhaps for the sake of one job.
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        errors[i] = commitAlone(*jobs[i]);
    }
    return errors;
}

bool WriteThread::runAll(const Jobs& jobs, std::vector<std::exception_ptr>& errors) {
    if (connection_->sharesWriting()) {
        for (const auto& job : jobs) {
            job->prime(*connection_);
        }
    }
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const std::int64_t before = connection_->changes();
        try {
            if (!jobs[i]->isCancelled()) {
                run(*jobs[i]);
            }
        } catch (const LocksNeeded&) {
            throw;
        } catch (const TransientError&) {
            throw;
        } catch (const Postponement&) {
            throw;
        } catch (...) {
            if (!connection_->inTransaction()) {
                throw;
            }
            if (connection_->changes() != before || connection_->hasFailed()) {
                return false;
            }
            errors[i] = std::current_exception();
        }
    }
    return true;
}

void WriteThread::beginBatch(std::optional<Transaction>& transaction) {
    connection_->lockNext({locks_.begin(), locks_.end()});
    transaction.emplace(*connection_, Access::WRITE);
    if (connection_->hadToWait()) {
        contended_ = std::chrono::steady_clock::now();
    }
}

std::exception_ptr WriteThread::commitAlone(Job& job) {
    try {
        planFor(std::array{&job});
        while (!persist([&] { return runAlone(job); })) {
        }
        return nullptr;
    } catch (...) {
        return std::current_exception();
    }
}

bool WriteThread::runAlone(Job& job) {
    std::optional<Transaction> transaction;
    try {
        beginBatch(transaction);
        if (!job.isCancelled()) {
            run(job);
        }
        transaction->commit();
        return true;
    } catch (const Postponement& postponement) {
        transaction.reset();
        runPostponed(job, postponement);
        return false;
    }
}

void WriteThread::runPostponed(Job& job, const Postponement& postponement) {
    for (bool more = true; more && !job.isCancelled();) {
        letOthersWrite();
        more = persist([&] {
            std::optional<Transaction> transaction;
            beginBatch(transaction);
            const bool rest = postponement.portion(*connection_);
            transaction->commit();
            return rest;
        });
    }
}

std::exception_ptr WriteThread::runInSavepoint(Job& job) {
    if (job.isCancelled()) {
        return nullptr;
    }
    connection_->setSavepoint();
    try {
        run(job);
        connection_->releaseSavepoint();
        return nullptr;
    } catch (const LocksNeeded&) {
        throw;
    } catch (const TransientError&) {
        throw;
    } catch (const Postponement&) {
        throw;
    } catch (...) {
        std::exception_ptr error = std::current_exception();
        if (!connection_->inTransaction()) {
            throw;
        }
        connection_->rollbackToSavepoint();
        return error;
    }
}

void WriteThread::run(Job& job) {
    if (!job.traits().usesSpareRoom) {
        connection_->needRoom(job.traits().weight);
    }
    job.run(*connection_);
}

void WriteThread::retryFull(const Jobs& jobs, std::vector<std::exception_ptr>& errors) {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        bytes = std::max(bytes, isFull(errors[i]) ? jobs[i]->traits().weight + 1 : 0);
    }
    if (bytes == 0) {
        return;
    }
    makeRoom(bytes);
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (isFull(errors[i])) {
            errors[i] = commitAlone(*jobs[i]);
        }
    }
}

void WriteThread::makeRoom(std::size_t bytes) {
    const auto deadline = std::chrono::steady_clock::now() + fullPatience;
    const auto inTime = [&] { return std::chrono::steady_clock::now() < deadline; };
    connection_->shortenLog(0);
    try {
        while (runPortion() == 0ms && inTime()) {
            connection_->shortenLog(fullLog);
        }
        // The log needs room for these bytes beside that in the file.
        while (giveRoomBack(fullLog, bytes) && inTime()) {
            connection_->shortenLog(0);
        }
    } catch (...) {
        // What was done so far may do.
    }
    connection_->shortenLog(0);
}

void WriteThread::runTask(bool idle) {
    load_ = 0;
    if (!task_) {
        taskDone_ = std::chrono::steady_clock::now();
        taskDue_ = taskDone_ + std::chrono::hours(1);
        return;
    }
    std::chrono::milliseconds wait{};
    try {
        wait = runPortion();
        uncleaned_ = wait > 0ms ? 0 : uncleaned_;
        if (idle && wait > 0ms) {
            if (giveRoomBack(idlePortion, idleRoom)) {
                wait = 0ms;
            } else {
                connection_->shortenLog(idleLog);
            }
        }
    } catch (...) {
        wait = taskRetry;
        if (isFull(std::current_exception())) {
            connection_->shortenLog(fullLog);
        }
    }
    taskDone_ = std::chrono::steady_clock::now();
    taskDue_ = taskDone_ + std::max<std::chrono::milliseconds>(wait, idleTime);
}

/// Programs that end after a few calls would leave all cleaning to others.
void WriteThread::cleanAtTheEnd() {
    constexpr auto time = 50ms;
    if (!task_ || connection_->changes() == 0) {
        return;
    }
    try {
        const auto end = std::chrono::steady_clock::now() + time;
        while (runPortion() == 0ms && std::chrono::steady_clock::now() < end) {
        }
        giveRoomBack(idlePortion, idleRoom);
    } catch (...) {
        // The next program can do it.
    }
}

// It is not worth waiting for another program: calls, and the end of the store, would wait as well.
std::chrono::milliseconds WriteThread::runPortion() {
    locks_.clear();
    for (;;) {
        try {
            connection_->lockNext({locks_.begin(), locks_.end()});
            Transaction transaction(*connection_, Access::WRITE, 0ms);
            const std::chrono::milliseconds wait = task_(*connection_);
            transaction.commit();
            return wait;
        } catch (const LocksNeeded& needed) {
            locks_.insert(needed.buckets.begin(), needed.buckets.end());
        }
    }
}

bool WriteThread::giveRoomBack(std::size_t bytes, std::size_t kept) {
    Transaction transaction(*connection_, Access::WRITE, 0ms);
    const bool given = connection_->giveRoomBack(bytes, kept);
    transaction.commit();
    return given;
}

void WriteThread::letOthersWrite() {
    // A second program can only poll: without the pause some of its calls would wait for long.
    if (std::chrono::steady_clock::now() - contended_ < 1s) {
        std::this_thread::sleep_for(2ms);
    }
}

}  // namespace storage::kvxstore::scheduler
