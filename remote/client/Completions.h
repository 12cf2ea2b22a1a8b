#pragma once

#include <array>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace storage::kvxremote {

/// Work for a completion thread, which may run code of the caller's.
class Task {
public:
    virtual ~Task() = default;
    virtual void run() noexcept = 0;
};

/// The threads that run the callers' handlers. Their queue has no bound.
class Completions {
public:
    Completions();
    /// Returns when everything posted is done.
    ~Completions();
    Completions(const Completions&) = delete;
    Completions& operator=(const Completions&) = delete;

    void post(std::unique_ptr<Task> task);

private:
    void work();
    std::unique_ptr<Task> next();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::unique_ptr<Task>> tasks_;
    bool stopping_ = false;
    std::array<std::thread, 2> threads_;
};

/// Whether this thread completes calls, and so must not wait for room in a queue.
bool& onCompletionThread();

}  // namespace storage::kvxremote
