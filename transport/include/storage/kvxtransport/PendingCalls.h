#pragma once

/// @file
/// Groups of outstanding calls: what KVXClient's cancelPendingCalls and waitForPendingCalls need.

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>

#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtransport {

class PendingCall;

/// The outstanding calls of one client and its services. Every member may be called from any
/// thread.
class PendingCalls {
public:
    /// Marks all calls of the group as cancelled. The transport then completes each with
    /// badNetwork(), as soon as nothing reads the caller's bytes any more.
    void cancel();

    /// Waits until no call is outstanding. Returns how many calls have entered the group so far.
    ///
    /// REQUIRES: not called on a thread that must complete one.
    std::size_t wait();

    /// How many calls have entered the group so far.
    std::size_t entered();

private:
    friend class PendingCall;

    std::mutex mutex_;
    std::condition_variable emptied_;
    /// The first of a list through the calls themselves.
    PendingCall* first_ = nullptr;
    std::size_t entered_ = 0;
};

/// One outstanding call, a member of its group for as long as the object lives. A transport derives
/// its own calls from this class, and destroys them when their handlers have returned.
class PendingCall {
public:
    /// Enters the group.
    explicit PendingCall(std::shared_ptr<PendingCalls> group) : group_(std::move(group)) {
        const std::lock_guard<std::mutex> lock(group_->mutex_);
        ++group_->entered_;
        place_ = &group_->first_;
        next_ = *place_;
        *place_ = this;
        if (next_ != nullptr) {
            next_->place_ = &next_;
        }
    }
    PendingCall(const PendingCall&) = delete;
    PendingCall& operator=(const PendingCall&) = delete;

    /// Whether PendingCalls::cancel() was called since the call entered the group.
    bool isCancelled() const { return cancelled_; }

protected:
    /// REQUIRES: the handler and all it holds are gone, so that wait() waits for them too.
    ~PendingCall() {
        const std::lock_guard<std::mutex> lock(group_->mutex_);
        *place_ = next_;
        if (next_ != nullptr) {
            next_->place_ = place_;
        }
        if (group_->first_ == nullptr) {
            group_->emptied_.notify_all();
        }
    }

private:
    friend class PendingCalls;

    const std::shared_ptr<PendingCalls> group_;
    std::atomic<bool> cancelled_{false};
    /// What points to this call: the group, or the call before it.
    PendingCall** place_ = nullptr;
    PendingCall* next_ = nullptr;
};

inline void PendingCalls::cancel() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (PendingCall* call = first_; call != nullptr; call = call->next_) {
        call->cancelled_ = true;
    }
}

inline std::size_t PendingCalls::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    emptied_.wait(lock, [this] { return first_ == nullptr; });
    return entered_;
}

inline std::size_t PendingCalls::entered() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return entered_;
}

/// The error of a call that was given up before it was done.
inline std::exception_ptr badNetwork() {
    return std::make_exception_ptr(
        kvxclient::KVXClientException(kvxclient::KVXClientErrorCode::BAD_NETWORK));
}

}  // namespace storage::kvxtransport
