#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "storage/kvxclient/CompletionHandler.h"

namespace storage::kvxconformance {

/// The state of one call: how often it completed, and whether it still can.
class Pending {
public:
    explicit Pending(std::chrono::milliseconds patience) : patience_(patience) {}
    virtual ~Pending() = default;

    int completions() const;
    /// Notes that no copy of the handler is left.
    void abandon();

protected:
    /// Counts a completion; calls `keep` first if it is the first one.
    template <class Keep>
    void complete(Keep keep) {
        const std::lock_guard lock(mutex_);
        if (completions_ == 0) {
            keep();
        }
        ++completions_;
        changed_.notify_all();
    }

    /// Waits for the completion. Throws std::runtime_error if the handler is dropped or patience
    /// runs out.
    void await() const;

private:
    const std::chrono::milliseconds patience_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    int completions_ = 0;
    bool abandoned_ = false;
};

/// The outcome of one call.
template <class Response>
class Outcome : public Pending {
public:
    using Pending::Pending;

    /// Waits for the completion; returns its response or throws its error.
    Response get() {
        await();
        if (error_) {
            std::rethrow_exception(error_);
        }
        return response_;
    }

    /// A handler that completes the outcome and then calls `next`.
    static kvxclient::CompletionHandler<Response> handler(std::shared_ptr<Outcome> outcome,
                                                          std::function<void()> next) {
        // This deleter runs when the last copy of the handler is destroyed.
        std::shared_ptr<void> last(nullptr, [outcome](void*) { outcome->abandon(); });
        return [outcome, last = std::move(last), next = std::move(next)](Response response,
                                                                         std::exception_ptr error) {
            outcome->complete([&] {
                outcome->response_ = std::move(response);
                outcome->error_ = std::move(error);
            });
            if (next) {
                next();
            }
        };
    }

private:
    Response response_;
    std::exception_ptr error_;
};

/// Every call that a clause made: each must complete exactly once.
class Ledger {
public:
    explicit Ledger(std::chrono::milliseconds patience) : patience_(patience) {}

    template <class Response>
    std::shared_ptr<Outcome<Response>> open() {
        auto outcome = std::make_shared<Outcome<Response>>(patience_);
        const std::lock_guard lock(mutex_);
        calls_.push_back(outcome);
        return outcome;
    }

    /// Counts the calls that have not completed exactly once.
    std::size_t violations() const;

private:
    const std::chrono::milliseconds patience_;
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Pending>> calls_;
};

}  // namespace storage::kvxconformance
