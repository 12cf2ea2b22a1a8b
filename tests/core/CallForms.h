#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <type_traits>

#include "storage/kvxtesting/ScriptedTransport.h"
#include "support/Allocations.h"

namespace storage::kvxclient {

using namespace kvxtesting;

// What tryForms() does for one operation; apart from it, so that it compiles once.
struct Forms {
    std::exception_ptr error;
    std::function<void()> startFuture, complete, getFuture, block;

    void tryBoth() const {
        auto started = std::async(std::launch::async, startFuture);
        EXPECT_EQ(std::future_status::ready, started.wait_for(std::chrono::seconds(10)))
            << "the future form waits";
        complete();
        started.get();
        EXPECT_EQ(error, thrownBy(getFuture));
        EXPECT_EQ(error, thrownBy(block));
    }

    static std::exception_ptr thrownBy(const std::function<void()>& action) {
        try {
            action();
        } catch (...) {
            return std::current_exception();
        }
        return nullptr;
    }
};

inline void expectMoved(std::size_t allocated, bool same) {
    EXPECT_EQ(4u, allocated) << "promise (two), shared pointer and handler";
    EXPECT_TRUE(same) << "the request arrives changed";
}

// Tries the future and the blocking form of an operation. Both move the request to the callback
// form as it is and report its error, and the future form does not wait for that.
template <class Operation, class Service, class Request, class Future, class Blocking>
void tryForms(const Service& service, const Request& request, Future future, Blocking blocking) {
    SCOPED_TRACE(Operation::name);
    const auto error = std::make_exception_ptr(KVXClientException(KVXClientErrorCode::CONFLICT));
    typename Operation::Handler pending;
    bool completesAtOnce = false;
    service.transport.template on<Operation>().runs([&](Request arrived, auto handler) {
        const std::size_t allocated = allocations::count;
        bool same = true;
        if constexpr (!std::is_empty_v<Request>) {
            same = request == arrived;
        }
        if constexpr (requires { request.getStreamFactory(); }) {  // Equality leaves it out.
            same = same && arrived.getStreamFactory();
        }
        expectMoved(allocated, same);
        pending = std::move(handler);
        if (completesAtOnce) {
            pending({}, error);
        }
    });
    const auto call = [&](auto form) {
        Request copy = request;
        allocations::count = 0;
        if constexpr (std::is_same_v<Request, kvxtransport::PingRequest>) {
            return form(service);
        } else {
            return form(service, std::move(copy));
        }
    };
    std::future<typename Operation::Response> result;
    Forms forms{error, [&] { result = call(future); },
                [&] {
                    ASSERT_TRUE(pending) << "another callback form is reached";
                    pending({}, error);
                },
                [&] { result.get(); },
                [&] {
                    completesAtOnce = true;
                    call(blocking);
                }};
    forms.tryBoth();
    EXPECT_TRUE(std::vector(2, Operation::name) == service.transport.reached());
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
