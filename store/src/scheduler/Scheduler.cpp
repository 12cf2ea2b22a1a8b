#include "scheduler/Scheduler.h"

#include <chrono>
#include <thread>
#include <utility>

#include "storage/kvxtransport/PendingCalls.h"

namespace storage::kvxstore::scheduler {

namespace {

std::exception_ptr runSnapshot(database::Connection& connection, Job& job) {
    constexpr int mostTries = 50;
    const auto deadline = std::chrono::steady_clock::now() + connection.lockPatience();
    for (int tries = 1;; ++tries) {
        try {
            database::Transaction snapshot(connection, database::Access::READ);
            job.run(connection);
            snapshot.commit();
            return nullptr;
        } catch (const database::TransientError&) {
            if (job.traits().runsOnce || std::chrono::steady_clock::now() > deadline) {
                return std::current_exception();
            }
            connection.countRepeat();
        } catch (const StoreError& error) {
            // Another program may have written a file that this one may only read.
            if (tries == mostTries || !connection.isReadOnly() ||
                error.code() != StoreErrorCode::FILE_CHANGED) {
                return std::current_exception();
            }
        } catch (...) {
            return std::current_exception();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

/// A thread of a store must not wait for room that it may have to make itself.
JobQueue::WhenFull whenFull() {
    return onStoreThread() ? JobQueue::WhenFull::EXCEED : JobQueue::WhenFull::WAIT;
}

}  // namespace

Scheduler::Scheduler(const database::Connector& connect, const database::Threads& threads,
                     BackgroundTask task)
    : writes_(threads.writers), strands_([this](std::unique_ptr<Job> job) {
          // The queue is open: the strands are closed before it, and then hold nothing.
          queueFor(*job).push(job, JobQueue::WhenFull::EXCEED);
      }) {
    std::vector<std::unique_ptr<database::Connection>> connections;
    for (unsigned i = 0; i < threads.readers; ++i) {
        connections.push_back(connect());
    }
    for (unsigned i = 0; i < threads.writers; ++i) {
        writers_.push_back(std::make_unique<WriteThread>(
            connect(), writes_,
            [this](std::unique_ptr<Job> job, std::exception_ptr error) {
                finish(std::move(job), std::move(error));
            },
            std::exchange(task, nullptr)));
    }
    for (auto& connection : connections) {
        readers_.emplace_back([this, own = std::move(connection)] { read(*own); });
    }
}

Scheduler::~Scheduler() {
    for (std::unique_ptr<Job>& job : strands_.close()) {
        completions_.post(std::move(job), kvxtransport::badNetwork());
    }
    for (JobQueue* queue : {&writes_, &reads_}) {
        for (std::unique_ptr<Job>& job : queue->close()) {
            completions_.post(std::move(job), kvxtransport::badNetwork());
        }
    }
    for (std::thread& reader : readers_) {
        reader.join();
    }
    writers_.clear();
}

void Scheduler::read(database::Connection& connection) {
    onStoreThread() = true;
    while (!reads_.isClosed()) {
        for (std::unique_ptr<Job>& job : reads_.pop(1, 0, std::chrono::hours(1))) {
            auto error = job->isCancelled() ? nullptr : runSnapshot(connection, *job);
            finish(std::move(job), std::move(error));
        }
    }
}

void Scheduler::submit(std::unique_ptr<Job> job) {
    if (strands_.admit(job, whenFull()) && !queueFor(*job).push(job, whenFull())) {
        finish(std::move(job), kvxtransport::badNetwork());
    }
}

JobQueue& Scheduler::queueFor(const Job& job) {
    return job.traits().access == database::Access::WRITE ? writes_ : reads_;
}

void Scheduler::finish(std::unique_ptr<Job> job, std::exception_ptr error) {
    strands_.leave(*job);
    completions_.post(std::move(job), std::move(error));
}

void Scheduler::finishCancelled() {
    for (std::unique_ptr<Job>& job : strands_.takeCancelled()) {
        completions_.post(std::move(job), nullptr);
    }
    for (JobQueue* queue : {&writes_, &reads_}) {
        for (std::unique_ptr<Job>& job : queue->takeCancelled()) {
            finish(std::move(job), nullptr);
        }
    }
}

}  // namespace storage::kvxstore::scheduler
