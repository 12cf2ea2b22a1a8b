#pragma once

/// @file
/// The callback that completes a call, and one that completes a promise.

#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <utility>

namespace storage::kvxclient {

/// @page call_forms The three forms of an operation
///
/// Every operation of every service has three forms that do the same: the callback form, a virtual
/// function that a transport implements; the future form, named ...Async, which returns at once
/// with a future; and the blocking form, which waits without a time limit and returns the response
/// or throws what the future holds, unchanged. A class that overrides a callback form hides the
/// blocking form of the same name; a using declaration brings it back.
///
/// @par Errors
/// The transport reports a failure to the handler, normally as a KVXClientException. Every
/// operation but ping and login may fail with UNAUTHORIZED, INVALID_SESSION_ID or SESSION_EXPIRED
/// without a valid session; every operation with BAD_NETWORK if the service is not reached or the
/// call is cancelled, and with INTERNAL_SERVER_ERROR or UNKNOWN if the service fails. A transport
/// that drops a handler makes the waiting forms throw std::future_error (broken_promise). An
/// exception that the callback form itself throws leaves all three forms at once.
///
/// @par Threads
/// Operations may be called from several threads at once. The handler is invoked exactly once, on a
/// thread of the transport's choice, possibly before the call has returned. The library starts no
/// threads. A blocking form must not be called on the thread that has to complete it: it would
/// never return.
///
/// @par Lifetime
/// Requests and handlers are taken by value: nothing that was passed has to outlive the call,
/// unless its request says so. The response is moved from the handler to the caller of a future or
/// blocking form; ConfigurationManagement, Notification and IVersioning copy it once.

/// Completes one call of a service: the transport invokes it exactly once, with the response and a
/// null pointer on success, or with a non-null exception pointer on failure, in which case the
/// response is ignored and may be a default one.
///
/// It may be copied freely and invoked on any thread, even before the call that received it has
/// returned. It runs on the thread that invokes it.
template <class T>
using CompletionHandler = std::function<void(T, std::exception_ptr)>;

/// Returns a handler that completes `promise`: with the response, which is moved and never copied,
/// or with the exception.
///
/// All copies of the handler share the promise. Invoking a second time throws std::future_error
/// (promise_already_satisfied) to the invoker and changes nothing. Destroying the last copy
/// uninvoked breaks the promise: its future reports std::future_error (broken_promise).
template <class T>
CompletionHandler<T> promiseCompletingHandler(std::promise<T> promise) {
    // The response is taken as an rvalue: by value would cost a further move.
    return [shared = std::make_shared<std::promise<T>>(std::move(promise))](
               T&& response, std::exception_ptr error) {
        if (!error) {
            shared->set_value(std::move(response));
        } else {
            shared->set_exception(std::move(error));
        }
    };
}

}  // namespace storage::kvxclient
