#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <type_traits>

#include "support/Allocations.h"
#include "support/ScriptedServices.h"

namespace storage::kvxclient {

inline std::exception_ptr thrownBy(const std::function<void()>& action) {
    try {
        action();
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
}

// Tries the future and the blocking form of an operation. Both move the request to the callback
// form as it is and report its error, and the future form does not wait for that.
template <class Operation, class Service, class Request, class Future, class Blocking>
void tryForms(const Service& service, const Request& request, Future future, Blocking blocking) {
    SCOPED_TRACE(Operation::name);
    using Handler = typename Operation::Handler;
    const auto error = std::make_exception_ptr(KVXClientException(KVXClientErrorCode::CONFLICT));
    const auto on = [&](std::function<void(Handler)> script) {
        service.transport.template on<Operation>([&, script](Request arrived, Handler handler) {
            EXPECT_EQ(4u, allocations::count) << "promise (two), shared pointer and handler";
            if constexpr (!std::is_empty_v<Request>) {
                EXPECT_EQ(request, arrived);
            }
            if constexpr (requires { request.getStreamFactory(); }) {  // Equality leaves it out.
                EXPECT_TRUE(arrived.getStreamFactory());
            }
            script(std::move(handler));
        });
    };
    const auto call = [&](auto form, Request copy) {
        allocations::count = 0;
        if constexpr (std::is_same_v<Request, kvxtransport::PingRequest>) {
            return form(service);
        } else {
            return form(service, std::move(copy));
        }
    };
    Handler pending;
    on([&](Handler handler) { pending = std::move(handler); });
    auto started = std::async(std::launch::async, [&] { return call(future, request); });
    EXPECT_EQ(std::future_status::ready, started.wait_for(std::chrono::seconds(10)))
        << "the future form waits";
    ASSERT_TRUE(pending) << "another callback form is reached";
    pending({}, error);
    EXPECT_EQ(error, thrownBy([&] { started.get().get(); }));
    on([&](Handler handler) { handler({}, error); });
    EXPECT_EQ(error, thrownBy([&] { call(blocking, request); }));
    EXPECT_EQ((std::vector{Operation::name, Operation::name}), service.transport.reached());
}

struct ScriptedKVXClient : ScriptedClient {
    ScriptedKVXClient() : ScriptedClient("endpoint") {}
};
using ScriptedIVersioning = ScriptedVersioning;

// Tries the forms of each operation that takes such a request.
template <class Request>
void tryOperationsOf([[maybe_unused]] const Request& request) {
#define TRY(Service, operation, Type, RequestType, ...)                                      \
    if constexpr (std::is_same_v<Request, kvxtransport::requests::RequestType>) {            \
        tryForms<kvxtransport::operations::Type>(                                            \
            Scripted##Service(), request,                                                    \
            [](const Service& s, auto... r) { return s.operation##Async(std::move(r)...); }, \
            [](const Service& s, auto... r) { return s.operation(std::move(r)...); });       \
    }
    KVXTRANSPORT_OPERATIONS(TRY)
#undef TRY
}

}  // namespace storage::kvxclient
