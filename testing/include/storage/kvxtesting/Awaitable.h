#pragma once

/// @file
/// Calls that coroutines await. C++20; nothing but the compiler's coroutines is needed.

#include <atomic>
#include <coroutine>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

#include "storage/kvxtransport/Operations.h"
#include "storage/kvxtransport/PendingCalls.h"

namespace storage::kvxtesting {

namespace detail {

/// What the handler of a call holds: says who waits, until somebody has taken that. Whoever takes
/// it tells it what became of the call; when the last handler goes, nobody else will.
template <class Waiter>
class Link {
public:
    explicit Link(Waiter waiter) : waiter_(std::move(waiter)) {}
    ~Link() {
        if (auto waiter = take()) {
            (*waiter)({},
                      std::make_exception_ptr(std::future_error(std::future_errc::broken_promise)));
        }
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /// Who waits, for the first who asks.
    std::optional<Waiter> take() {
        if (taken_.exchange(true)) {
            return std::nullopt;
        }
        return std::move(waiter_);
    }

private:
    std::atomic<bool> taken_{false};
    Waiter waiter_;
};

}  // namespace detail

/// A call that begins when a coroutine awaits it, as in `co_await async::readFile(files, request)`.
/// Gives the response, or throws what the call fails with; std::future_error (broken_promise) when
/// the transport drops the handler. The coroutine goes on where the call ends: at once, without
/// recursion, when it ends inline, else on the transport's thread.
///
/// The interface cannot cancel a single call. A stop request ends the await alone: with
/// BAD_NETWORK, on the thread that requests it; an answer that comes later is dropped. Stopped
/// before it begins, a call is not made.
///
/// Await it once, at once: it refers to the service.
template <class Operation>
class Awaitable {
public:
    using Request = typename Operation::Request;    ///< What the call is made with.
    using Response = typename Operation::Response;  ///< What the await gives.

    /// A call of the service, which must last until the call has ended.
    Awaitable(const typename Operation::Service& service, Request request, std::stop_token stop)
        : service_(service), request_(std::move(request)), stop_(std::move(stop)) {}
    Awaitable(const Awaitable&) = delete;
    Awaitable& operator=(const Awaitable&) = delete;

    /// Whether the await is stopped before the call begins.
    bool await_ready() {
        if (stop_.stop_requested()) {
            error_ = kvxtransport::badNetwork();
        }
        return error_ != nullptr;
    }

    /// Begins the call. False when it has ended inline.
    bool await_suspend(std::coroutine_handle<> coroutine) {
        coroutine_ = coroutine;
        auto link = std::make_shared<Link>(Waiter{this});
        const bool isStoppable = stop_.stop_possible();
        const std::weak_ptr<Link> weak = isStoppable ? link : std::shared_ptr<Link>();
        Operation::start(service_, std::move(request_),
                         [link = std::move(link)](Response response, std::exception_ptr error) {
                             if (const auto waiter = link->take()) {
                                 (*waiter)(std::move(response), std::move(error));
                             }
                         });
        if (isStoppable) {
            onStop_.emplace(stop_, Stop{weak});
        }
        return !ended_.exchange(true);
    }

    /// The response, or throws.
    Response await_resume() {
        onStop_.reset();
        if (error_) {
            std::rethrow_exception(std::move(error_));
        }
        return std::move(*response_);
    }

private:
    struct Waiter {
        Awaitable* awaitable;
        void operator()(Response response, std::exception_ptr error) const {
            awaitable->end(std::move(response), std::move(error));
        }
    };
    using Link = detail::Link<Waiter>;

    struct Stop {
        std::weak_ptr<Link> weak;
        void operator()() const {
            // The coroutine that goes on may destroy this object.
            if (const auto link = weak.lock()) {
                if (const auto waiter = link->take()) {
                    (*waiter)({}, kvxtransport::badNetwork());
                }
            }
        }
    };

    void end(Response response, std::exception_ptr error) {
        if (error) {
            error_ = std::move(error);
        } else {
            response_.emplace(std::move(response));
        }
        if (ended_.exchange(true)) {  // It is suspended.
            coroutine_.resume();
        }
    }

    const typename Operation::Service& service_;
    Request request_;
    const std::stop_token stop_;
    std::coroutine_handle<> coroutine_;
    std::optional<Response> response_;
    std::exception_ptr error_;
    std::optional<std::stop_callback<Stop>> onStop_;
    /// Set by the call's end and by await_suspend(): whoever comes second has the coroutine go on.
    std::atomic<bool> ended_{false};
};

/// A function for each operation, with its name: `co_await async::listFolder(files, request)`, or
/// with a stop token as the last argument. See Awaitable.
namespace async {

/// @cond  Documentation cannot see what macros make.
#define KVXTESTING_AWAITABLE(ServiceType, operation, Type, RequestType, ...)   \
    inline Awaitable<kvxtransport::operations::Type> operation(                \
        const kvxclient::ServiceType& service, kvxclient::RequestType request, \
        std::stop_token stop = {}) {                                           \
        return {service, std::move(request), std::move(stop)};                 \
    }
KVXTRANSPORT_SESSION_OPERATIONS(KVXTESTING_AWAITABLE)
KVXTRANSPORT_FILE_OPERATIONS(KVXTESTING_AWAITABLE)
KVXTRANSPORT_SHARING_OPERATIONS(KVXTESTING_AWAITABLE)
KVXTRANSPORT_CONFIGURATION_OPERATIONS(KVXTESTING_AWAITABLE)
KVXTRANSPORT_NOTIFICATION_OPERATIONS(KVXTESTING_AWAITABLE)
KVXTRANSPORT_VERSIONING_OPERATIONS(KVXTESTING_AWAITABLE)
#undef KVXTESTING_AWAITABLE
/// @endcond

/// Awaits a ping, which has no request.
inline Awaitable<kvxtransport::operations::Ping> ping(const kvxclient::KVXClient& client,
                                                      std::stop_token stop = {}) {
    return {client, {}, std::move(stop)};
}

}  // namespace async

}  // namespace storage::kvxtesting
