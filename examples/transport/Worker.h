#pragma once

#include <storage/kvxclient.h>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace example {

/// One thread that carries out the calls of a transport, in order, and completes each exactly once.
class Worker {
public:
    Worker() : thread_([this] { run(); }) {}

    /// Completes the calls that have not begun with BAD_NETWORK; all have completed on return.
    ~Worker() {
        {
            const std::lock_guard lock(mutex_);
            ending_ = true;
        }
        changed_.notify_one();
        thread_.join();
    }

    /// Queues a call whose `work` returns the response or throws the failure.
    template <class Response, class Work>
    void call(storage::kvxclient::CompletionHandler<Response> handler, Work work) {
        const std::lock_guard lock(mutex_);
        calls_.push_back([handler = std::move(handler), work = std::move(work)](bool cancelled) {
            Response response;
            std::exception_ptr error;
            try {
                if (cancelled) {
                    throw storage::kvxclient::KVXClientException(
                        storage::kvxclient::KVXClientErrorCode::BAD_NETWORK);
                }
                response = work();
            } catch (const storage::kvxclient::KVXClientException&) {
                error = std::current_exception();
            } catch (...) {
                error = std::make_exception_ptr(storage::kvxclient::KVXClientException(
                    storage::kvxclient::KVXClientErrorCode::UNKNOWN));
            }
            // Outside the try block: what a handler throws must not complete the call again.
            handler(std::move(response), error);
        });
        changed_.notify_one();
    }

private:
    void run() {
        std::unique_lock lock(mutex_);
        while (!ending_ || !calls_.empty()) {
            if (calls_.empty()) {
                changed_.wait(lock);
                continue;
            }
            const auto call = std::move(calls_.front());
            calls_.pop_front();
            const bool cancelled = ending_;
            lock.unlock();  // A handler may make the next call.
            try {
                call(cancelled);
            } catch (...) {
                // A handler's own failure is nobody's here.
            }
            lock.lock();
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void(bool)>> calls_;
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace example
