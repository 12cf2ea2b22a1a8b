#pragma once

/// @file
/// Calls with a completion token of Boost.Asio: use_future, a yield_context, a handler, and with
/// compilers for which Boost has coroutines use_awaitable.

#include <utility>  // Boost 1.74 uses it and does not include it.

// After it.
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>
#include <memory>
#include <stop_token>
#include <type_traits>

#include "storage/kvxtesting/Awaitable.h"

// What spawn() gives; its header would ask for Boost.Coroutine.
namespace boost::asio {
template <typename Handler>
class basic_yield_context;
}

namespace storage::kvxtesting {

namespace detail {

template <class Token>
inline constexpr bool isYieldContext = false;
template <class Handler>
inline constexpr bool isYieldContext<boost::asio::basic_yield_context<Handler>> = true;

/// Stands for use_awaitable where there is none.
struct NoAwaitable {};

/// Posts the end of a call to the executor of the one who waits for it.
template <class Response, class Handler>
class Poster {
public:
    explicit Poster(Handler handler)
        : work_(boost::asio::make_work_guard(handler)), handler_(std::move(handler)) {}

    void operator()(Response response, std::exception_ptr error) {
        const auto executor = work_.get_executor();
        boost::asio::post(
            executor, [handler = std::move(handler_), work = std::move(work_),
                       response = std::move(response), error = std::move(error)]() mutable {
                if constexpr (std::is_invocable_v<Handler&, std::exception_ptr, Response>) {
                    handler(std::move(error), std::move(response));
                } else {
                    handler(std::pair(std::move(error), std::move(response)));
                }
            });
    }

private:
    decltype(boost::asio::make_work_guard(std::declval<Handler&>())) work_;
    Handler handler_;
};

}  // namespace detail

/// The token for `co_await` within boost::asio::awaitable.
#if defined(BOOST_ASIO_HAS_CO_AWAIT)
inline constexpr boost::asio::use_awaitable_t<> useAwaitable;
#else
inline constexpr detail::NoAwaitable useAwaitable;
#endif

/// Makes a call of an operation, with a completion token for `void(std::exception_ptr, Response)`.
/// What waits goes on on its own executor, never within this function; a transport that drops the
/// handler ends the call with std::future_error (broken_promise). The service must last until the
/// call has ended.
template <class Operation, class Token>
auto asyncCall(const typename Operation::Service& service, typename Operation::Request request,
               Token&& token) {
    static_assert(!std::is_same_v<std::decay_t<Token>, detail::NoAwaitable>,
                  "this Boost.Asio has no coroutines with this compiler: use GCC, another token, "
                  "or Awaitable.h without Asio");
    using Response = typename Operation::Response;
    const auto initiate = [&service](auto handler, typename Operation::Request made) {
        using Waiter = detail::Poster<Response, decltype(handler)>;
        Operation::start(
            service, std::move(made),
            [link = std::make_shared<detail::Link<Waiter>>(Waiter(std::move(handler)))](
                Response response, std::exception_ptr error) {
                if (auto waiter = link->take()) {
                    (*waiter)(std::move(response), std::move(error));
                }
            });
    };
    if constexpr (detail::isYieldContext<std::decay_t<Token>>) {
        // A yield context knows no exceptions: both come as one value.
        auto [error, response] =
            boost::asio::async_initiate<Token, void(std::pair<std::exception_ptr, Response>)>(
                initiate, token, std::move(request));
        if (error) {
            std::rethrow_exception(error);
        }
        return std::move(response);
    } else {
        return boost::asio::async_initiate<Token, void(std::exception_ptr, Response)>(
            initiate, token, std::move(request));
    }
}

namespace async {

/// @cond  Documentation cannot see what macros make.
#define KVXTESTING_ASIO(ServiceType, operation, Type, RequestType, ...)                   \
    template <class Token,                                                                \
              std::enable_if_t<!std::is_convertible_v<Token, std::stop_token>, int> = 0>  \
    auto operation(const kvxclient::ServiceType& service, kvxclient::RequestType request, \
                   Token&& token) {                                                       \
        return asyncCall<kvxtransport::operations::Type>(service, std::move(request),     \
                                                         std::forward<Token>(token));     \
    }
KVXTRANSPORT_SESSION_OPERATIONS(KVXTESTING_ASIO)
KVXTRANSPORT_FILE_OPERATIONS(KVXTESTING_ASIO)
KVXTRANSPORT_SHARING_OPERATIONS(KVXTESTING_ASIO)
KVXTRANSPORT_CONFIGURATION_OPERATIONS(KVXTESTING_ASIO)
KVXTRANSPORT_NOTIFICATION_OPERATIONS(KVXTESTING_ASIO)
KVXTRANSPORT_VERSIONING_OPERATIONS(KVXTESTING_ASIO)
#undef KVXTESTING_ASIO
/// @endcond

/// Makes a ping, which has no request, with a completion token.
template <class Token, std::enable_if_t<!std::is_convertible_v<Token, std::stop_token>, int> = 0>
auto ping(const kvxclient::KVXClient& client, Token&& token) {
    return asyncCall<kvxtransport::operations::Ping>(client, {}, std::forward<Token>(token));
}

}  // namespace async

}  // namespace storage::kvxtesting
