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

}  // namespace

Scheduler::Scheduler(const database::Connector& connect, unsigned readers, Chore chore) {
    std::vector<std::unique_ptr<database::Connection>> connections;
    for (unsigned i = 0; i < readers; ++i) {
        connections.push_back(connect());
    }
    writer_.emplace(connect(), writes_, completions_, std::move(chore));
    for (auto& connection : connections) {
        readers_.emplace_back([this, own = std::move(connection)] { read(*own); });
    }
}

Scheduler::~Scheduler() {
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
            completions_.post(std::move(job), std::move(error));
        }
    }
}

void Scheduler::submit(std::unique_ptr<Job> job) {
    JobQueue& queue = job->access() == database::Access::WRITE ? writes_ : reads_;
    const auto whenFull = onStoreThread() ? JobQueue::WhenFull::EXCEED : JobQueue::WhenFull::WAIT;
    if (!queue.push(job, whenFull)) {
        finish(std::move(job), badNetwork());
    }
}

void Scheduler::finish(std::unique_ptr<Job> job, std::exception_ptr error) {
    completions_.post(std::move(job), std::move(error));
}

void Scheduler::cancel(const CallGroup& group) {
    group.cancelAll();
    for (JobQueue* queue : {&writes_, &reads_}) {
        for (std::unique_ptr<Job>& job : queue->takeCancelled()) {
            finish(std::move(job), nullptr);
        }
    }
}

}  // namespace storage::kvxstore::scheduler
