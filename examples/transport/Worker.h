#pragma once

#include <storage/kvxtransport/PendingCalls.h>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace example {

namespace kvxclient = storage::kvxclient;
namespace kvxtransport = storage::kvxtransport;

/// One thread that carries out the calls of a transport, in order, and completes each exactly once.
class Worker {
public:
    Worker() : thread_([this] { run(); }) {}

    /// Completes the calls that have not begun with BAD_NETWORK; all have completed on return.
    /// REQUIRES: no handler holds the last of the transport, for this thread cannot join itself.
    ~Worker() {
        cancel();
        {
            const std::lock_guard lock(mutex_);
            ending_ = true;
        }
        changed_.notify_one();
        thread_.join();
    }

    /// Queues a call whose `work` returns the response or throws the failure.
    template <class Response, class Work>
    void start(kvxclient::CompletionHandler<Response> handler, Work work) {
        const std::lock_guard lock(mutex_);
        calls_.push_back(
            std::make_unique<CallOf<Response>>(group_, std::move(handler), std::move(work)));
        changed_.notify_one();
    }

    void cancel() { group_->cancel(); }
    void wait() { group_->wait(); }

private:
    struct Call : kvxtransport::PendingCall {
        using PendingCall::PendingCall;
        virtual ~Call() = default;
        virtual void run() = 0;
    };

    template <class Response>
    struct CallOf final : Call {
        CallOf(std::shared_ptr<kvxtransport::PendingCalls> group,
               kvxclient::CompletionHandler<Response> completion, std::function<Response()> action)
            : Call(std::move(group)), handler(std::move(completion)), work(std::move(action)) {}

        void run() override {
            Response response;
            std::exception_ptr error;
            try {
                if (!isCancelled()) {
                    response = work();
                }
            } catch (const kvxclient::KVXClientException&) {
                error = std::current_exception();
            } catch (...) {
                error = std::make_exception_ptr(
                    kvxclient::KVXClientException(kvxclient::KVXClientErrorCode::UNKNOWN));
            }
            // Outside the try block: what a handler throws must not complete the call again.
            handler(std::move(response), isCancelled() ? kvxtransport::badNetwork() : error);
        }

        kvxclient::CompletionHandler<Response> handler;
        std::function<Response()> work;
    };

    void run() {
        std::unique_lock lock(mutex_);
        while (!ending_ || !calls_.empty()) {
            if (calls_.empty()) {
                changed_.wait(lock);
                continue;
            }
            std::unique_ptr<Call> call = std::move(calls_.front());
            calls_.pop_front();
            lock.unlock();  // A handler may make the next call.
            try {
                call->run();
            } catch (...) {
                // A handler's own failure is nobody's here.
            }
            call.reset();
            lock.lock();
        }
    }

    const std::shared_ptr<kvxtransport::PendingCalls> group_ =
        std::make_shared<kvxtransport::PendingCalls>();
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::unique_ptr<Call>> calls_;
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace example
