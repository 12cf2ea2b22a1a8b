#include "scheduler/Scheduler.h"

namespace storage::kvxstore::scheduler {

namespace {

std::exception_ptr runSnapshot(database::Connection& connection, Job& job) {
    try {
        database::Transaction snapshot(connection, database::Access::READ);
        job.run(connection);
        snapshot.commit();
        return nullptr;
    } catch (...) {
        return std::current_exception();
    }
}

/// A thread of a store must not wait for room that it may have to make itself.
JobQueue::WhenFull whenFull() {
    return onStoreThread() ? JobQueue::WhenFull::EXCEED : JobQueue::WhenFull::WAIT;
}

}  // namespace

Scheduler::Scheduler(const database::Connector& connect, unsigned readers, Chore chore)
    : sequencer_([this](std::unique_ptr<Job> job) {
          // The queue is open: the sequencer is closed before it, and then holds nothing.
          queueFor(*job).push(job, JobQueue::WhenFull::EXCEED);
      }) {
    std::vector<std::unique_ptr<database::Connection>> connections;
    for (unsigned i = 0; i < readers; ++i) {
        connections.push_back(connect());
    }
    writer_.emplace(
        connect(), writes_,
        [this](std::unique_ptr<Job> job, std::exception_ptr error) {
            finish(std::move(job), std::move(error));
        },
        std::move(chore));
    for (auto& connection : connections) {
        readers_.emplace_back([this, own = std::move(connection)] { read(*own); });
    }
}

Scheduler::~Scheduler() {
    for (std::unique_ptr<Job>& job : sequencer_.close()) {
        completions_.post(std::move(job), badNetwork());
    }
    for (JobQueue* queue : {&writes_, &reads_}) {
        for (std::unique_ptr<Job>& job : queue->close()) {
            completions_.post(std::move(job), badNetwork());
        }
    }
    for (std::thread& reader : readers_) {
        reader.join();
    }
    writer_.reset();
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
    if (sequencer_.admit(job, whenFull()) && !queueFor(*job).push(job, whenFull())) {
        finish(std::move(job), badNetwork());
    }
}

JobQueue& Scheduler::queueFor(const Job& job) {
    return job.traits().access == database::Access::WRITE ? writes_ : reads_;
}

void Scheduler::refuse(std::unique_ptr<Job> job, std::exception_ptr error) {
    completions_.post(std::move(job), std::move(error));
}

void Scheduler::finish(std::unique_ptr<Job> job, std::exception_ptr error) {
    sequencer_.leave(*job);
    completions_.post(std::move(job), std::move(error));
}

void Scheduler::cancel(const CallGroup& group) {
    group.cancelAll();
    for (std::unique_ptr<Job>& job : sequencer_.takeCancelled()) {
        refuse(std::move(job), nullptr);
    }
    for (JobQueue* queue : {&writes_, &reads_}) {
        for (std::unique_ptr<Job>& job : queue->takeCancelled()) {
            finish(std::move(job), nullptr);
        }
    }
    completions_.hurryCancelled();
}

}  // namespace storage::kvxstore::scheduler
