#pragma once

/// @file
/// How the last reference to an object with threads may go on one of these threads.

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace storage::kvxtransport {

/// Ends objects that wait for their own threads: on such a thread, which cannot wait for itself,
/// another one is started for it. Make it before the objects, with static duration: the program's
/// end then waits for these threads, since it takes away what they use.
class Endings {
public:
    /// `onOwnThread` says whether the calling thread is one that the objects wait for.
    explicit Endings(bool (*onOwnThread)()) : onOwnThread_(onOwnThread) {}
    Endings(const Endings&) = delete;
    Endings& operator=(const Endings&) = delete;

    /// Waits until all have ended, unless a handler ends the program, which would wait for itself.
    ~Endings() {
        std::unique_lock<std::mutex> lock(mutex_);
        ended_.wait(lock, [this] { return count_ == 0 || onOwnThread_(); });
    }

    /// Calls `end`, which must not throw, now or soon after on another thread.
    template <class End>
    void run(End end) {
        if (!onOwnThread_()) {
            end();
            return;
        }
        add(1);
        std::thread([this, end = std::move(end)] {
            end();
            add(-1);
        }).detach();
    }

private:
    void add(int difference) {
        const std::lock_guard<std::mutex> lock(mutex_);
        count_ += difference;
        ended_.notify_all();
    }

    bool (*const onOwnThread_)();
    std::mutex mutex_;
    std::condition_variable ended_;
    int count_ = 0;
};

}  // namespace storage::kvxtransport
