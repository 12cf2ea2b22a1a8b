#pragma once

/// @file
/// Completion tokens of Boost.Asio for calls: `async::listFolder(files, request, token)`, with or
/// without a stop token before the token.
///
/// The token is a completion handler `void(std::exception_ptr, Response)`, bound to an executor
/// with bind_executor or not, or one of Asio's: use_awaitable, use_future, a yield_context. What
/// the caller waits for returns the response or throws, as with Awaitable.h.
///
/// - A handler with an executor is posted there, and never runs before the call has returned. A
///   handler without one runs on the thread that completes the call, possibly before the call has
///   returned, and must not throw.
/// - The executor has work until the handler has been posted: io_context::run() waits for the call.
///   The thread that completes or stops the call holds the executor a little longer: before the
///   executor's context ends, call KVXClient::waitForPendingCalls, and join threads that stop
///   calls.
/// - What the callback form itself throws is given to the handler.
///
/// Boost.Asio 1.74 has use_awaitable with GCC only. Programs with stackful coroutines include
/// boost/asio/spawn.hpp and link Boost.Coroutine.

// First, since Boost 1.74 leaves out an include of its own.
#include "storage/kvxtesting/Awaitable.h"

#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/system_executor.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/use_future.hpp>
#include <exception>
#include <type_traits>
#include <utility>

/// @cond
namespace boost::asio {
template <typename Handler>
class basic_yield_context;
}  // namespace boost::asio
/// @endcond

namespace storage::kvxtesting {

#ifdef BOOST_ASIO_HAS_CO_AWAIT
using boost::asio::use_awaitable;
#else
/// Stands for the token that Boost.Asio does not have with this compiler: a call with it is
/// refused.
struct NoAwaitable {};
/// Asio's token where it has it, with GCC: the call is an asio::awaitable.
inline constexpr NoAwaitable use_awaitable;
#endif

namespace detail {

template <class Token>
inline constexpr bool isAwaitableHere = true;
template <class Token>
inline constexpr bool isYieldContext = false;
template <class Handler>
inline constexpr bool isYieldContext<boost::asio::basic_yield_context<Handler>> = true;

#ifndef BOOST_ASIO_HAS_CO_AWAIT
template <>
inline constexpr bool isAwaitableHere<NoAwaitable> = false;
#endif

template <class Response>
using Outcome = std::pair<std::exception_ptr, Response>;

// A yield_context gives back one value, whatever it is, and knows no exception_ptr.
template <class Token, class Response>
using Signature = std::conditional_t<isYieldContext<Token>, void(Outcome<Response>),
                                     void(std::exception_ptr, Response)>;

template <class Token, class Handler, class Response>
void give(Handler& handler, Outcome<Response> outcome) {
    if constexpr (isYieldContext<Token>) {
        handler(std::move(outcome));
    } else {
        handler(std::move(outcome.first), std::move(outcome.second));
    }
}

template <class Token, class Operation, class Handler>
Detached runFor(Awaitable<Operation> awaitable, Handler handler) {
    namespace asio = boost::asio;
    const auto executor = asio::get_associated_executor(handler);
    const asio::executor_work_guard work(executor);
    Outcome<typename Operation::Response> outcome;
    try {
        outcome.second = co_await std::move(awaitable);
    } catch (...) {
        outcome.first = std::current_exception();
    }
    if constexpr (std::is_same_v<decltype(executor), const asio::system_executor>) {
        give<Token>(handler, std::move(outcome));
    } else {
        asio::post(executor,
                   [handler = std::move(handler), outcome = std::move(outcome)]() mutable {
                       give<Token>(handler, std::move(outcome));
                   });
    }
}

}  // namespace detail

/// Starts the call and completes it as the token says. Returns what the token wants: an
/// asio::awaitable, a future, the response with a yield_context, nothing with a handler.
template <class Operation, class Token>
decltype(auto) completeWith(Awaitable<Operation> awaitable, Token&& token) {
    using Plain = std::remove_cvref_t<Token>;
    using Response = typename Operation::Response;
    static_assert(detail::isAwaitableHere<Plain>,
                  "Boost.Asio has no use_awaitable with this compiler: co_await the call without a "
                  "token, or compile with GCC.");
    if constexpr (!detail::isAwaitableHere<Plain>) {
        return;
    } else if constexpr (std::is_same_v<Plain, boost::asio::use_future_t<>>) {
        // Asio would start a pool of threads to complete it.
        return start(std::move(awaitable));
    } else {
        const auto initiate = []<class Handler>(Handler&& handler, Awaitable<Operation> started) {
            detail::runFor<Plain, Operation, std::decay_t<Handler>>(std::move(started),
                                                                    std::forward<Handler>(handler));
        };
        if constexpr (detail::isYieldContext<Plain>) {
            auto [error, response] =
                boost::asio::async_initiate<Token, detail::Signature<Plain, Response>>(
                    initiate, token, std::move(awaitable));
            if (error) {
                std::rethrow_exception(std::move(error));
            }
            return Response(std::move(response));
        } else {
            return boost::asio::async_initiate<Token, detail::Signature<Plain, Response>>(
                initiate, token, std::move(awaitable));
        }
    }
}

}  // namespace storage::kvxtesting
