#pragma once

#include <memory>
#include <string_view>

#include "Engine.h"
#include "services/Call.h"
#include "storage/kvxclient/FileHandles.h"
#include "storage/kvxclient/FileTransfer.h"

namespace storage::kvxstore::services {

template <class Request, class Response>
struct Operation {
    /// As the service interface names it.
    std::string_view name;
    Response (*run)(const Context&, const Request&);
    database::Access access;
};
// Clang 14 does not deduce the arguments of aggregates by itself.
template <class Request, class Response>
Operation(std::string_view, Response (*)(const Context&, const Request&), database::Access)
    -> Operation<Request, Response>;

// Bytes of content that a request carries, or keeps alive at its caller's.

template <class Request>
std::size_t weightOf(const Request&) {
    return 0;
}
inline std::size_t weightOf(const kvxclient::FileCreateRequest& request) {
    return request.getContent().size();
}
inline std::size_t weightOf(const kvxclient::FileContentWriteRequest& request) {
    return request.getContentSize();
}

// What a request must be in sequence with: others through the same handle.

template <class Request>
std::string sequenceOf(const Request&) {
    return {};
}
inline std::string sequenceOf(const kvxclient::FileContentReadRequest& request) {
    return request.getFileHandleId();
}
inline std::string sequenceOf(const kvxclient::FileContentWriteRequest& request) {
    return request.getFileHandleId();
}
inline std::string sequenceOf(const kvxclient::FileHandleCloseRequest& request) {
    return request.getFileHandleId();
}

/// How a client and its services reach the store.
struct ServiceLink {
    std::shared_ptr<Engine> engine;
    std::shared_ptr<scheduler::CallGroup> group;

    /// Queues a call of the operation, unless a fault on purpose refuses it.
    template <class Request, class Response>
    void serve(const Operation<Request, Response>& operation, std::string sessionId,
               Request request, kvxclient::CompletionHandler<Response> handler) const {
        // The handler may hold the last of the store, and run before the call has returned.
        const std::shared_ptr<Engine> alive = engine;
        CallFrame frame{{operation.access, weightOf(request), sequenceOf(request)},
                        group,
                        engine->options(),
                        engine->instance(),
                        std::move(sessionId)};
        const auto& faults = engine->options().faults;
        const std::optional<Fault> fault = faults ? faults->meet(operation.name) : std::nullopt;
        if (fault) {
            frame.traits.delay = fault->delay;
            frame.dropsHandler = fault->dropHandler;
        }
        auto call = std::make_unique<Call<Response>>(
            std::move(frame),
            [run = operation.run, request = std::move(request)](const Context& context) {
                return run(context, request);
            },
            std::move(handler));
        if (fault && fault->error) {
            engine->scheduler().refuse(
                std::move(call),
                std::make_exception_ptr(kvxclient::KVXClientException(*fault->error)));
        } else {
            engine->scheduler().submit(std::move(call));
        }
    }
};

}  // namespace storage::kvxstore::services
