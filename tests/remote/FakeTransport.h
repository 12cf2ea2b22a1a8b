#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "storage/kvxtransport/PendingCalls.h"
#include "storage/kvxtransport/Services.h"

namespace storage::kvxremote {

/// What a test tells a transport, and sees of it.
class FakeState {
public:
    /// Calls of the operation wait until they are let go.
    void hold(const std::string& operation) {
        const std::lock_guard<std::mutex> lock(mutex_);
        held_ = operation;
    }

    void letGo(bool cancelled = false) {
        std::vector<std::function<void(bool)>> calls;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            held_ = cancelled ? held_ : "";
            calls.swap(waiting_);
        }
        for (const auto& call : calls) {
            call(cancelled);
        }
    }

    /// Handlers end uncalled from now on.
    void drop() { drops_ = true; }
    bool drops() const { return drops_; }

    /// Whether so many calls come to wait, and no more.
    bool keeps(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(20), [&] { return waiting_.size() >= count; });
        changed_.wait_for(lock, std::chrono::milliseconds(100),
                          [&] { return waiting_.size() > count; });
        return waiting_.size() == count;
    }

    /// The bytes of content that came.
    std::atomic<std::uint64_t> bytesIn{0};
    /// The bytes that each download gives.
    std::atomic<std::uint64_t> downloadSize{0};

    /// Completes the call now or when it is let go.
    void complete(const std::string& operation, std::function<void(bool)> call) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (operation == held_) {
                waiting_.push_back(std::move(call));
                changed_.notify_all();
                return;
            }
        }
        call(false);
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string held_;
    std::vector<std::function<void(bool)>> waiting_;
    std::atomic<bool> drops_{false};
};

/// A transport that keeps nothing. Each call succeeds at once, unless a test wants otherwise; what
/// is read is zeros, and a session's id is the token of its login.
class FakeTransport {
public:
    explicit FakeTransport(std::shared_ptr<FakeState> state) : state_(std::move(state)) {}

    template <class Operation>
    void call(const kvxtransport::Caller&, typename Operation::Request request,
              typename Operation::Handler handler) const {
        state_->bytesIn += kvxtransport::contentBytesOf(request);
        if (state_->drops()) {
            return;
        }
        state_->complete(
            std::string(Operation::name), [state = state_, request = std::move(request),
                                           handler = std::move(handler)](bool ends) {
                typename Operation::Response response{};
                if (!ends) {
                    fill(*state, request, response);
                }
                handler(std::move(response), ends ? kvxtransport::badNetwork() : nullptr);
            });
    }

    void cancelPendingCalls() const { state_->letGo(true); }
    void waitForPendingCalls() const {}

private:
    template <class Request, class Response>
    static void fill(FakeState& state, const Request& request, Response& response) {
        if constexpr (std::is_same_v<Request, kvxclient::LoginRequest>) {
            response.withSessionId(request.getToken());
        } else if constexpr (std::is_same_v<Request, kvxclient::FileContentReadRequest>) {
            const std::vector<char> zeros(request.getLength());
            response.appendContent(zeros.data(), zeros.size());
        } else if constexpr (std::is_same_v<Request, kvxclient::FileDownloadRequest>) {
            const auto stream = request.getStreamFactory()();
            const std::vector<char> zeros(1UL << 20U);
            for (std::uint64_t left = state.downloadSize; left > 0 && *stream;) {
                const std::uint64_t size = std::min<std::uint64_t>(left, zeros.size());
                stream->write(zeros.data(), static_cast<std::streamsize>(size));
                left -= size;
            }
        } else if constexpr (std::is_same_v<Request, kvxclient::FileHandleReadWriteCreateRequest> ||
                             std::is_same_v<Request, kvxclient::FileHandleReadOnlyCreateRequest>) {
            response.withFileHandleId("handle" +
                                      request.getResource().getAsciiPercentEncodedPath());
        } else if constexpr (std::is_same_v<Request, kvxclient::FileDownloadCreateRequest>) {
            response.withLocation("location");
        }
    }

    std::shared_ptr<FakeState> state_;
};

inline std::unique_ptr<kvxclient::KVXClient> fakeClient(const std::shared_ptr<FakeState>& state) {
    return std::make_unique<kvxtransport::DispatchingClient<FakeTransport>>("fake:",
                                                                            FakeTransport(state));
}

}  // namespace storage::kvxremote
