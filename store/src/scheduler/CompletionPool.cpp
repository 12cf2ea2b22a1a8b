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
    {
        const std::lock_guard lock(mutex_);
        completions_.push_back({std::move(job), std::move(error)});
    }
    changed_.notify_one();
}

void CompletionPool::work() {
    onStoreThread() = true;
    while (auto completion = next()) {
        completion->job->finish(std::move(completion->error));
    }
}

std::optional<CompletionPool::Completion> CompletionPool::next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return stopping_ || !completions_.empty(); });
    if (completions_.empty()) {
        return std::nullopt;
    }
    Completion first = std::move(completions_.front());
    completions_.pop_front();
    return first;
}

}  // namespace storage::kvxstore::scheduler
