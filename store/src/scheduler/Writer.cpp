#include "scheduler/Writer.h"

namespace storage::kvxstore::scheduler {

namespace {

using namespace std::chrono_literals;
using database::Access;
using database::Transaction;

constexpr std::size_t batchJobs = 64;
constexpr std::size_t batchWeight = 4UL << 20U;
constexpr auto idleTime = 50ms;
constexpr auto forever = 1h;

}  // namespace

Writer::Writer(std::unique_ptr<database::Connection> connection, JobQueue& queue,
               CompletionPool& completions, Chore chore)
    : connection_(std::move(connection)),
      queue_(queue),
      completions_(completions),
      chore_(std::move(chore)),
      thread_([this] { work(); }) {}

Writer::~Writer() { thread_.join(); }

void Writer::work() {
    onStoreThread() = true;
    bool choreDue = true;
    for (;;) {
        Jobs jobs = queue_.pop(batchJobs, batchWeight, choreDue ? idleTime : forever);
        if (!jobs.empty()) {
            auto errors = commitTogether(jobs);
            for (std::size_t i = 0; i < jobs.size(); ++i) {
                completions_.post(std::move(jobs[i]), std::move(errors[i]));
            }
            choreDue = true;
        } else if (queue_.isClosed()) {
            return;
        } else if (choreDue) {
            choreDue = doChore();
        }
        letOthersWrite();
    }
}

std::vector<std::exception_ptr> Writer::commitTogether(const Jobs& jobs) {
    std::vector<std::exception_ptr> errors(jobs.size());
    std::optional<Transaction> transaction;
    try {
        beginBatch(transaction);
    } catch (...) {
        errors.assign(jobs.size(), std::current_exception());
        return errors;
    }
    try {
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            errors[i] = runInSavepoint(*jobs[i]);
        }
        transaction->commit();
    } catch (...) {
        transaction.reset();
        // The whole batch is undone, though perhaps for the sake of one job.
        for (std::size_t i = 0; i < jobs.size(); ++i) {
            errors[i] = jobs.size() == 1 ? std::current_exception() : commitAlone(*jobs[i]);
        }
    }
    return errors;
}

void Writer::beginBatch(std::optional<Transaction>& transaction) {
    transaction.emplace(*connection_, Access::WRITE);
    if (connection_->hadToWait()) {
        contended_ = std::chrono::steady_clock::now();
    }
}

std::exception_ptr Writer::commitAlone(Job& job) {
    try {
        Transaction transaction(*connection_, Access::WRITE);
        if (!job.isCancelled()) {
            job.run(*connection_);
        }
        transaction.commit();
        return nullptr;
    } catch (...) {
        return std::current_exception();
    }
}

std::exception_ptr Writer::runInSavepoint(Job& job) {
    if (job.isCancelled()) {
        return nullptr;
    }
    connection_->execute("savepoint job");
    try {
        job.run(*connection_);
        connection_->execute("release job");
        return nullptr;
    } catch (...) {
        const std::exception_ptr error = std::current_exception();
        if (!connection_->inTransaction()) {
            throw;
        }
        connection_->execute("rollback to job");
        connection_->execute("release job");
        return error;
    }
}

bool Writer::doChore() {
    try {
        Transaction transaction(*connection_, Access::WRITE);
        const bool more = chore_(*connection_);
        transaction.commit();
        return more;
    } catch (...) {
        // Nothing was lost, and the next write makes it due again.
        return false;
    }
}

void Writer::letOthersWrite() {
    // A second program can only poll: without the pause some of its calls would wait for long.
    if (std::chrono::steady_clock::now() - contended_ < 1s) {
        std::this_thread::sleep_for(2ms);
    }
}

}  // namespace storage::kvxstore::scheduler
