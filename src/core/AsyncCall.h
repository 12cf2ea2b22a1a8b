#pragma once

#include <future>
#include <memory>
#include <utility>

#include "storage/kvxclient/CompletionHandler.h"

namespace storage::kvxclient::detail {

template <class Service, class Request, class Response>
using CallbackForm = void (Service::*)(Request, CompletionHandler<Response>) const;

/// Starts a call with a handler that moves the response into the future.
template <class Service, class Request, class Response>
std::future<Response> callMoving(const Service& service,
                                 CallbackForm<Service, Request, Response> operation,
                                 Request&& request) {
    std::promise<Response> promise;
    std::future<Response> future = promise.get_future();
    (service.*operation)(std::forward<Request>(request),
                         promiseCompletingHandler(std::move(promise)));
    return future;
}

/// Starts a call with a handler that copies the response into the future.
template <class Service, class Request, class Response>
std::future<Response> callCopying(const Service& service,
                                  CallbackForm<Service, Request, Response> operation,
                                  Request&& request) {
    auto promise = std::make_shared<std::promise<Response>>();
    std::future<Response> future = promise->get_future();
    (service.*operation)(
        std::forward<Request>(request),
        [promise = std::move(promise)](const Response& response, std::exception_ptr error) {
            if (error) {
                promise->set_exception(std::move(error));
            } else {
                promise->set_value(response);
            }
        });
    return future;
}

}  // namespace storage::kvxclient::detail
