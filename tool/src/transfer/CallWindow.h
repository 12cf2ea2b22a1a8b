#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <utility>

#include "ui/Failure.h"

namespace storage::kvxtool {

/// Calls of one kind in flight at once, bounded in number and in the bytes they carry, and
/// completed on the caller's thread in the order in which they were started.
template <class Response>
class CallWindow {
public:
    /// Takes the future of a completed call: get() gives its response or throws its error.
    using WhenDone = std::function<void(std::future<Response>&)>;

    /// Several times what a store commits together, so that the next batch gathers meanwhile.
    static constexpr std::size_t MAX_CALLS = 1024;
    static constexpr std::size_t MAX_BYTES = std::size_t{16} << 20U;

    explicit CallWindow(std::size_t maxCalls = MAX_CALLS) : maxCalls_(maxCalls) {}
    /// Waits for the calls that were not completed: they may use what outlives this.
    ~CallWindow() {
        for (const Call& call : calls_) {
            call.future.wait();
        }
    }

    CallWindow(const CallWindow&) = delete;
    CallWindow& operator=(const CallWindow&) = delete;

    /// Completes calls until another one that carries `bytes` fits in. More than MAX_BYTES fit in
    /// when nothing else is in flight.
    void makeRoom(std::size_t bytes = 0) {
        while (!calls_.empty() && (calls_.size() >= maxCalls_ || bytes_ + bytes > MAX_BYTES)) {
            completeFirst();
        }
    }

    /// REQUIRES: makeRoom() was called before the call was started, if the call uses what its
    /// completion holds. Completing another call may throw here, and nothing would wait for it.
    void add(std::future<Response> future, WhenDone whenDone, std::size_t bytes = 0) {
        makeRoom(bytes);
        bytes_ += bytes;
        calls_.push_back({std::move(future), std::move(whenDone), bytes});
    }

    /// Completes every call.
    void drain() {
        while (!calls_.empty()) {
            completeFirst();
        }
    }

    /// Completes every call when the session has ended, which most of them say again.
    void drainEnded() {
        while (!calls_.empty()) {
            try {
                completeFirst();
            } catch (const SessionEnded&) {
                // One of them has been reported.
            }
        }
    }

private:
    struct Call {
        std::future<Response> future;
        WhenDone whenDone;
        std::size_t bytes;
    };

    void completeFirst() {
        calls_.front().future.wait();
        Call call = std::move(calls_.front());
        calls_.pop_front();
        bytes_ -= call.bytes;
        call.whenDone(call.future);
    }

    const std::size_t maxCalls_;
    std::deque<Call> calls_;
    std::size_t bytes_ = 0;
};

}  // namespace storage::kvxtool
