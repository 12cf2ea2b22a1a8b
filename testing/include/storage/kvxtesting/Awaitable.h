#pragma once

/// @file
/// Calls in coroutines: each operation as something to co_await, and the least that a program needs
/// to write coroutines and to start them. C++20, without Boost.
///
/// @code
/// Task<std::size_t> countFiles(const FileAccess& files, Resource folder) {
///     const FolderListResponse listing = co_await async::listFolder(files, std::move(folder));
///     co_return listing.getFiles().size();
/// }
/// const std::size_t count = start(countFiles(*files, folder)).get();
/// @endcode

#include <atomic>
#include <concepts>
#include <coroutine>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

#include "storage/kvxtransport/Operations.h"
#include "storage/kvxtransport/PendingCalls.h"

namespace storage::kvxtesting {

namespace operations = kvxtransport::operations;

namespace detail {

/// Where a coroutine that suspends meets what it waits for. The second of the two goes on; the
/// first must touch nothing of the coroutine any more.
class Meeting {
public:
    /// Whether the caller is the second.
    bool isSecond() {
        return met_.load(std::memory_order_acquire) ||
               met_.exchange(true, std::memory_order_acq_rel);
    }

private:
    std::atomic<bool> met_{false};
};

/// One call that is waited for. Lives in the coroutine's frame, where the outcome comes to be.
template <class Operation>
class CallAwaiter {
public:
    using Response = typename Operation::Response;

    CallAwaiter(const typename Operation::Service& service, typename Operation::Request request,
                std::stop_token stop)
        : service_(service), request_(std::move(request)), stop_(std::move(stop)) {}
    CallAwaiter(const CallAwaiter&) = delete;
    CallAwaiter& operator=(const CallAwaiter&) = delete;

    /// Takes the link away when the coroutine is destroyed while it waits.
    ~CallAwaiter() {
        if (const auto link = link_.lock()) {
            link->take();
        }
    }

    bool await_ready() {
        if (stop_.stop_requested()) {
            error_ = kvxtransport::badNetwork();
        }
        return error_ != nullptr;
    }

    // Inlined by Clang, it would keep its own variables in the coroutine's frame, which may be gone
    // before it returns.
    [[gnu::noinline]] bool await_suspend(std::coroutine_handle<> waiting) {
        waiting_ = waiting;
        auto link = std::make_shared<Link>(this);
        link_ = link;
        try {
            Operation::start(
                service_, std::move(request_),
                [link = std::move(link)](Response&& response, std::exception_ptr error) {
                    if (CallAwaiter* const call = link->take()) {
                        call->complete(&response, std::move(error));
                    }
                });
        } catch (...) {
            const auto kept = link_.lock();
            if ((kept && kept->take() != nullptr) || meeting_.isSecond()) {
                throw;
            }
            return true;  // Another thread is just completing the call.
        }
        if (stop_.stop_possible()) {
            onStop_.emplace(stop_, Stop{this});
        }
        return !meeting_.isSecond();
    }

    Response await_resume() {
        onStop_.reset();
        if (error_) {
            std::rethrow_exception(std::move(error_));
        }
        return std::move(*response_);
    }

private:
    /// From all copies of the handler to the call. Whoever takes it completes the call.
    class Link {
    public:
        explicit Link(CallAwaiter* call) : call_(call) {}
        Link(const Link&) = delete;
        Link& operator=(const Link&) = delete;
        ~Link() {
            if (CallAwaiter* const call = take()) {
                auto error =
                    std::make_exception_ptr(std::future_error(std::future_errc::broken_promise));
                call->complete(nullptr, std::move(error));
            }
        }

        CallAwaiter* take() {
            return call_.load(std::memory_order_relaxed) == nullptr
                       ? nullptr
                       : call_.exchange(nullptr, std::memory_order_acq_rel);
        }

    private:
        std::atomic<CallAwaiter*> call_;
    };

    struct Stop {
        CallAwaiter* call;

        void operator()() const {
            // Resumed, the coroutine ends this object.
            const auto link = call->link_.lock();
            if (CallAwaiter* const taken = link ? link->take() : nullptr) {
                taken->complete(nullptr, kvxtransport::badNetwork());
            }
        }
    };

    void complete(Response* response, std::exception_ptr error) {
        if (error) {
            error_ = std::move(error);
        } else {
            response_.emplace(std::move(*response));
        }
        if (meeting_.isSecond()) {
            waiting_.resume();
        }
    }

    const typename Operation::Service& service_;
    typename Operation::Request request_;
    std::stop_token stop_;
    std::coroutine_handle<> waiting_;
    std::weak_ptr<Link> link_;
    Meeting meeting_;
    std::optional<Response> response_;
    std::exception_ptr error_;
    std::optional<std::stop_callback<Stop>> onStop_;
};

}  // namespace detail

/// A call that starts when it is awaited, once: `co_await` returns the response or throws what the
/// handler was given, normally a KVXClientException.
///
/// - A transport that drops the handler makes it throw std::future_error (broken_promise); what the
///   callback form itself throws is thrown as well.
/// - The coroutine goes on on the thread that completes the call; if the call completes before its
///   callback form returns, on the thread that awaits, without growing the stack.
/// - Requesting a stop ends the await with BAD_NETWORK on the thread that requests it; a call not
///   yet started is not made. A call already made goes on at the transport and its late answer is
///   dropped: bytes that a request only refers to must be kept until then, see
///   KVXClient::waitForPendingCalls.
/// - A coroutine may be destroyed while it waits, where nothing resumes it at the same time. The
///   late answer is dropped.
///
/// The service must live until the call has started. Not thread-safe.
template <class Operation>
class [[nodiscard]] Awaitable {
public:
    /// Makes a call on `service`, not yet started, that `stop` ends.
    Awaitable(const typename Operation::Service& service, typename Operation::Request request,
              std::stop_token stop = {})
        : service_(service), request_(std::move(request)), stop_(std::move(stop)) {}

    /// What co_await asks for; it moves the request out.
    detail::CallAwaiter<Operation> operator co_await() && {
        return {service_, std::move(request_), std::move(stop_)};
    }

private:
    const typename Operation::Service& service_;
    typename Operation::Request request_;
    std::stop_token stop_;
};

/// Makes calls of one operation: the type of `call<Operation>` and of what is in namespace async.
///
/// A request may be left out, or be `{}`, if its default is a whole one, as that of ping.
template <class Operation>
struct CallOf {
    /// The service that the operation is called on.
    using Service = typename Operation::Service;
    /// What it is called with.
    using Request = typename Operation::Request;

    /// Returns the call to co_await, which `stop` ends.
    Awaitable<Operation> operator()(const Service& service, Request request = Request(),
                                    std::stop_token stop = {}) const {
        return {service, std::move(request), std::move(stop)};
    }

    /// Makes the call with a completion token, as Asio.h says, and returns what the token wants.
    template <class Token>
    requires(!std::convertible_to<Token, std::stop_token>) decltype(auto) operator()(
        const Service& service, Request request, Token&& token) const {
        return (*this)(service, std::move(request), std::stop_token(), std::forward<Token>(token));
    }

    /// As above; `stop` ends the call.
    template <class Token>
    decltype(auto) operator()(const Service& service, Request request, std::stop_token stop,
                              Token&& token) const {
        static_assert(
            requires(Awaitable<Operation> call) {
                completeWith(std::move(call), std::forward<Token>(token));
            },
            "Include storage/kvxtesting/Asio.h for completion tokens.");
        return completeWith(Awaitable<Operation>(service, std::move(request), std::move(stop)),
                            std::forward<Token>(token));
    }
};

/// `call<operations::ListFolder>(files, request)`: for programs that are written once for several
/// operations.
template <class Operation>
inline constexpr CallOf<Operation> call{};

/// The operations by their names: `co_await async::listFolder(files, request)`.
namespace async {

/// @cond  Documentation cannot see what macros make.
#define KVXTESTING_CALL(Service, operation, Type, ...) \
    inline constexpr CallOf<operations::Type> operation{};
KVXTRANSPORT_OPERATIONS(KVXTESTING_CALL)
#undef KVXTESTING_CALL
/// @endcond

}  // namespace async

template <class T = void>
class Task;

namespace detail {

/// Goes on with the coroutine that waits for the one that has ended.
struct TaskEnd {
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    [[gnu::noinline]] void await_suspend(std::coroutine_handle<Promise> ended) const noexcept {
        Promise& promise = ended.promise();
        if (promise.meeting.isSecond()) {
            promise.waiting.resume();
        }
    }
    void await_resume() const noexcept {}
};

template <class T>
struct TaskResult {
    std::optional<T> value;

    template <class Value>
    void return_value(Value&& result) {
        value.emplace(std::forward<Value>(result));
    }
    T take() { return std::move(*value); }
};

template <>
struct TaskResult<void> {
    void return_void() {}
    void take() {}
};

template <class T>
struct TaskPromise : TaskResult<T> {
    Meeting meeting;
    std::coroutine_handle<> waiting;
    std::exception_ptr error;

    Task<T> get_return_object();
    std::suspend_always initial_suspend() const noexcept { return {}; }
    TaskEnd final_suspend() const noexcept { return {}; }
    void unhandled_exception() { error = std::current_exception(); }
};

/// Owns a coroutine, and starts it when awaited.
template <class T>
class TaskAwaiter {
public:
    explicit TaskAwaiter(std::coroutine_handle<TaskPromise<T>> coroutine) : coroutine_(coroutine) {}
    TaskAwaiter(const TaskAwaiter&) = delete;
    TaskAwaiter& operator=(const TaskAwaiter&) = delete;
    ~TaskAwaiter() { coroutine_.destroy(); }

    bool await_ready() const noexcept { return false; }
    // A symmetric transfer would grow the stack where the compiler does not optimise.
    [[gnu::noinline]] bool await_suspend(std::coroutine_handle<> waiting) {
        TaskPromise<T>& promise = coroutine_.promise();
        promise.waiting = waiting;
        coroutine_.resume();
        return !promise.meeting.isSecond();
    }
    T await_resume() {
        if (std::exception_ptr& error = coroutine_.promise().error) {
            std::rethrow_exception(std::move(error));
        }
        return coroutine_.promise().take();
    }

private:
    std::coroutine_handle<TaskPromise<T>> coroutine_;
};

}  // namespace detail

/// A coroutine that returns a T, or nothing: `Task<T> f(...)` with co_await and co_return in it.
///
/// It runs when it is awaited, from another Task, or started, with start(), and only once:
/// `co_await f(...)` returns what it returns or throws what it throws. It goes on on whatever
/// thread completes what it awaits, but never on two at once. Destroying it destroys its variables,
/// wherever it waits; the late answer of a call is dropped.
///
/// Its parameters live in the coroutine: take them by value, or see that what they refer to
/// outlives it.
template <class T>
class [[nodiscard]] Task {
public:
    /// What the compiler asks for.
    using promise_type = detail::TaskPromise<T>;

    /// Takes the coroutine over, and leaves none.
    Task(Task&& other) noexcept : coroutine_(std::exchange(other.coroutine_, nullptr)) {}
    Task& operator=(Task&&) = delete;
    ~Task() {
        if (coroutine_) {
            coroutine_.destroy();
        }
    }

    /// What co_await asks for; it moves the coroutine out.
    detail::TaskAwaiter<T> operator co_await() && {
        return detail::TaskAwaiter<T>(std::exchange(coroutine_, nullptr));
    }

private:
    friend promise_type;
    explicit Task(std::coroutine_handle<promise_type> coroutine) : coroutine_(coroutine) {}

    std::coroutine_handle<promise_type> coroutine_;
};

namespace detail {

template <class T>
Task<T> TaskPromise<T>::get_return_object() {
    return Task<T>(std::coroutine_handle<TaskPromise>::from_promise(*this));
}

/// A coroutine that runs at once, and that nobody waits for.
struct Detached {
    struct promise_type {
        Detached get_return_object() const { return {}; }
        std::suspend_never initial_suspend() const noexcept { return {}; }
        std::suspend_never final_suspend() const noexcept { return {}; }
        void return_void() const {}
        void unhandled_exception() const { std::terminate(); }
    };
};

template <class Work>
using ResultOf = decltype(std::declval<Work>().operator co_await().await_resume());

template <class Work, class Result>
Detached runInto(Work work, std::promise<Result> promise) {
    try {
        // What the work holds ends before its result is seen.
        if constexpr (std::is_void_v<Result>) {
            co_await std::move(work);
            promise.set_value();
        } else {
            Result result = co_await std::move(work);
            promise.set_value(std::move(result));
        }
    } catch (...) {
        promise.set_exception(std::current_exception());
    }
}

}  // namespace detail

/// Starts a Task or an Awaitable on this thread, and returns the future of what it returns or
/// throws. Several that are started one after the other run side by side.
///
/// The future's get() must not be called on a thread that has to complete one of the calls.
template <class Work>
std::future<detail::ResultOf<Work>> start(Work work) {
    std::promise<detail::ResultOf<Work>> promise;
    auto future = promise.get_future();
    detail::runInto(std::move(work), std::move(promise));
    return future;
}

}  // namespace storage::kvxtesting
