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

/// What has become of one call so far: how often it completed, and whether it still can.
class Pending {
public:
    explicit Pending(std::chrono::milliseconds patience) : patience_(patience) {}
    virtual ~Pending() = default;

    int completions() const;
    /// Notes that no copy of the handler is left.
    void abandon();

protected:
    /// Counts a completion, after `keep` for the first one.
    template <class Keep>
    void complete(Keep keep) {
        const std::lock_guard lock(mutex_);
        if (completions_ == 0) {
            keep();
        }
        ++completions_;
        changed_.notify_all();
    }

    /// Returns when the call has completed; throws std::runtime_error when it never does.
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

    /// A handler that completes the outcome and then does what `next` says.
    static kvxclient::CompletionHandler<Response> handler(std::shared_ptr<Outcome> outcome,
                                                          std::function<void()> next) {
        // This deleter runs when the last copy of the handler goes.
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

/// Every call that a clause made, for what must hold of each.
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

    /// The calls that have not completed exactly once.
    std::size_t violations() const;

private:
    const std::chrono::milliseconds patience_;
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Pending>> calls_;
};

}  // namespace storage::kvxconformance
