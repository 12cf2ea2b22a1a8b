#include "scheduler/CompletionPool.h"

namespace storage::kvxstore::scheduler {

bool& onStoreThread() {
    thread_local bool flag = false;
    return flag;
}

CompletionPool::CompletionPool() {
    for (std::thread& thread : threads_) {
        thread = std::thread([this] { work(); });
    }
}

CompletionPool::~CompletionPool() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

void CompletionPool::post(std::unique_ptr<Job> job, std::exception_ptr error) {
    const auto delay = job->traits().delay;
    {
        const std::lock_guard lock(mutex_);
        Completion completion{std::move(job), std::move(error)};
        if (delay.count() > 0 && !completion.job->isCancelled()) {
            delayed_.emplace(std::chrono::steady_clock::now() + delay, std::move(completion));
        } else {
            completions_.push_back(std::move(completion));
        }
    }
    changed_.notify_one();
}

void CompletionPool::hurryCancelled() {
    const std::lock_guard lock(mutex_);
    for (auto each = delayed_.begin(); each != delayed_.end();) {
        if (each->second.job->isCancelled()) {
            completions_.push_back(std::move(each->second));
            each = delayed_.erase(each);
        } else {
            ++each;
        }
    }
    changed_.notify_all();
}

void CompletionPool::work() {
    onStoreThread() = true;
    while (auto completion = next()) {
        completion->job->finish(std::move(completion->error));
    }
}

std::optional<CompletionPool::Completion> CompletionPool::next() {
    std::unique_lock lock(mutex_);
    for (;;) {
        const auto now = std::chrono::steady_clock::now();
        while (!delayed_.empty() && (stopping_ || delayed_.begin()->first <= now)) {
            completions_.push_back(std::move(delayed_.begin()->second));
            delayed_.erase(delayed_.begin());
        }
        if (!completions_.empty()) {
            Completion first = std::move(completions_.front());
            completions_.pop_front();
            return first;
        }
        if (stopping_) {
            return std::nullopt;
        }
        if (delayed_.empty()) {
            changed_.wait(lock);
        } else {
            // A copy, since another thread may take it out meanwhile.
            const auto due = delayed_.begin()->first;
            changed_.wait_until(lock, due);
        }
    }
}

}  // namespace storage::kvxstore::scheduler
