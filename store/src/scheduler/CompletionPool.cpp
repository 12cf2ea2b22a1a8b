#include "scheduler/CompletionPool.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>

namespace storage::kvxstore::scheduler {

bool& onStoreThread() {
    thread_local bool flag = false;
    return flag;
}

/// Shared with the threads, since one of them may outlive the pool.
struct CompletionPool::State {
    struct Completion {
        std::unique_ptr<Job> job;
        std::exception_ptr error;
    };

    void work() {
        onStoreThread() = true;
        while (auto completion = next()) {
            completion->job->finish(std::move(completion->error));
        }
    }

    std::optional<Completion> next() {
        std::unique_lock lock(mutex);
        for (;;) {
            const auto now = std::chrono::steady_clock::now();
            while (!delayed.empty() && (stopping || delayed.begin()->first <= now)) {
                completions.push_back(std::move(delayed.begin()->second));
                delayed.erase(delayed.begin());
            }
            if (!completions.empty()) {
                Completion first = std::move(completions.front());
                completions.pop_front();
                return first;
            }
            if (stopping) {
                return std::nullopt;
            }
            if (delayed.empty()) {
                changed.wait(lock);
            } else {
                // A copy, since another thread may take it out meanwhile.
                const auto due = delayed.begin()->first;
                changed.wait_until(lock, due);
            }
        }
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Completion> completions;
    std::multimap<std::chrono::steady_clock::time_point, Completion> delayed;
    bool stopping = false;
};

CompletionPool::CompletionPool() : state_(std::make_shared<State>()) {
    for (std::thread& thread : threads_) {
        thread = std::thread([state = state_] { state->work(); });
    }
}

CompletionPool::~CompletionPool() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->stopping = true;
        state_->changed.notify_all();
    }
    for (std::thread& thread : threads_) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else {
            thread.join();
        }
    }
}

void CompletionPool::post(std::unique_ptr<Job> job, std::exception_ptr error) {
    const auto delay = job->traits().delay;
    State::Completion completion{std::move(job), std::move(error)};
    {
        const std::lock_guard lock(state_->mutex);
        if (delay.count() > 0) {
            state_->delayed.emplace(std::chrono::steady_clock::now() + delay,
                                    std::move(completion));
        } else {
            state_->completions.push_back(std::move(completion));
        }
    }
    state_->changed.notify_one();
}

}  // namespace storage::kvxstore::scheduler
