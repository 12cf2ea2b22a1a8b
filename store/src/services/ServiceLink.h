#pragma once

#include <memory>

#include "Engine.h"
#include "services/Call.h"
#include "storage/kvxclient/FileTransfer.h"

namespace storage::kvxstore::services {

template <class Request>
std::size_t weightOf(const Request&) {
    return 0;
}
inline std::size_t weightOf(const kvxclient::FileCreateRequest& request) {
    return request.getContent().size();
}

/// How a client and its services reach the store.
struct ServiceLink {
    std::shared_ptr<Engine> engine;
    std::shared_ptr<scheduler::CallGroup> group;

    /// Queues a call of the operation.
    template <class Request, class Response>
    void serve(Response (*operation)(const operations::Context&, const Request&),
               database::Access access, std::string sessionId, Request request,
               kvxclient::CompletionHandler<Response> handler) const {
        const std::size_t weight = weightOf(request);
        engine->scheduler().submit(std::make_unique<Call<Response>>(
            CallFrame{access, weight, group, engine->options(), std::move(sessionId)},
            [operation, request = std::move(request)](const operations::Context& context) {
                return operation(context, request);
            },
            std::move(handler)));
    }

    /// Completes a call of an operation that the store does not have.
    template <class Response>
    void refuse(kvxclient::CompletionHandler<Response> handler) const {
        engine->scheduler().finish(
            std::make_unique<Call<Response>>(
                CallFrame{database::Access::READ, 0, group, engine->options(), {}}, nullptr,
                std::move(handler)),
            failure(kvxclient::KVXClientErrorCode::UNKNOWN, "this store does not serve this yet"));
    }
};

}  // namespace storage::kvxstore::services
