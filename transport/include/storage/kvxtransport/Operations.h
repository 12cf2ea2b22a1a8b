#pragma once

/// @file
/// The operations of the six services as types, made from the table of operations.

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "storage/kvxclient.h"
#include "storage/kvxtransport/OperationTable.h"

namespace storage::kvxtransport {

/// Whether an operation changes anything at the service.
enum class Access { READ, WRITE };

/// Whether a call may be sent again after its answer was lost.
enum class Repeat { SAFE, ONCE };

/// Whether an operation needs a session.
enum class Need { OPEN, SESSION };

namespace requests {

using namespace kvxclient;

/// What ping is called with: nothing.
struct PingRequest {};

}  // namespace requests

using requests::PingRequest;

/// Bytes of content that a request carries, or keeps alive at its caller's.
template <class Request>
std::size_t contentBytesOf(const Request& request) {
    if constexpr (std::is_same_v<Request, kvxclient::FileCreateRequest>) {
        return request.getContent().size();
    } else if constexpr (std::is_same_v<Request, kvxclient::FileContentWriteRequest>) {
        return request.getContentSize();
    } else {
        return 0;
    }
}

/// Calls with the same text take effect in the order in which they were made: those through one
/// file handle. An empty text orders nothing.
template <class Request>
std::string orderOf(const Request& request) {
    if constexpr (std::is_same_v<Request, kvxclient::FileContentReadRequest> ||
                  std::is_same_v<Request, kvxclient::FileContentWriteRequest> ||
                  std::is_same_v<Request, kvxclient::FileHandleCloseRequest>) {
        return request.getFileHandleId();
    } else {
        return {};
    }
}

namespace detail {

/// Calls with request and handler, or with the handler alone where there is no request.
template <class Call, class Request, class Handler>
void callWith(const Call& call, Request& request, Handler& handler) {
    if constexpr (std::is_same_v<Request, PingRequest>) {
        call(std::move(handler));
    } else {
        call(std::move(request), std::move(handler));
    }
}

}  // namespace detail

/// A type for each operation: its name, service, request, response and traits, as in its row of the
/// table, and start(), which makes the call on a service in its callback form.
namespace operations {

/// @cond  The macro, not the types.
#define KVXTRANSPORT_TYPE(ServiceType, operation, Type, RequestType, ResponseType, accessMode,   \
                          repeatMode, needed)                                                    \
    struct Type {                                                                                \
        using Service = kvxclient::ServiceType;                                                  \
        using Request = requests::RequestType;                                                   \
        using Response = kvxclient::ResponseType;                                                \
        using Handler = kvxclient::CompletionHandler<Response>;                                  \
        static constexpr std::string_view name = #operation;                                     \
        static constexpr Access access = Access::accessMode;                                     \
        static constexpr Repeat repeat = Repeat::repeatMode;                                     \
        static constexpr Need need = Need::needed;                                               \
        static void start(const Service& service, Request request, Handler handler) {            \
            detail::callWith(                                                                    \
                [&service](auto&&... arguments) { service.operation(std::move(arguments)...); }, \
                request, handler);                                                               \
        }                                                                                        \
    };
KVXTRANSPORT_OPERATIONS(KVXTRANSPORT_TYPE)
#undef KVXTRANSPORT_TYPE
/// @endcond

}  // namespace operations

/// Calls `visit` with an object of each operation's type, in the order of the table.
template <class Visitor>
constexpr void forEachOperation(Visitor&& visit) {
/// @cond
#define KVXTRANSPORT_VISIT(ServiceType, operation, Type, ...) visit(operations::Type{});
    KVXTRANSPORT_OPERATIONS(KVXTRANSPORT_VISIT)
#undef KVXTRANSPORT_VISIT
    /// @endcond
}

}  // namespace storage::kvxtransport
