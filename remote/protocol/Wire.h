#pragma once

/// @file
/// What each operation looks like as an HTTP request and answer. Client and server both use it, so
/// that neither can read what the other did not write.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/WireError.h"
#include "storage/kvxtransport/Operations.h"

namespace storage::kvxremote {

/// A header's name and value. The names below are compared without regard to case.
using Header = std::pair<std::string, std::string>;

/// A request without the headers that every call has.
struct WireRequest {
    std::string method;
    /// Percent-encoded path and query, as they stand in the request's first line.
    std::string target;
    std::vector<Header> headers;
    /// The body, or its beginning when content follows.
    std::string body;
    /// The content behind it. At the sender it lies in the record that was encoded, at the receiver
    /// in what was collected.
    std::string_view content;
};

/// The bytes of an answer's body, taken block by block.
class Body {
public:
    virtual ~Body() = default;
    /// The next block, valid until the next call; empty at the end. About 256 KiB at most, but for
    /// single elements that are larger.
    virtual std::string_view next() = 0;
};

/// An answer without the headers that every answer has.
struct WireAnswer {
    std::vector<Header> headers;
    /// The body's size if it is known before the last block.
    std::optional<std::uint64_t> size;
    std::unique_ptr<Body> body;
};

/// How one operation of the table travels. All members may throw a WireError. DownloadFile has no
/// encodeAnswer and decodeAnswer: its content goes from stream to stream.
template <class Operation>
struct Wire {
    using Request = typename Operation::Request;
    using Response = typename Operation::Response;

    /// REQUIRES: the request outlives the result, which refers to its content.
    static WireRequest encode(const Request& request);
    /// As JSON to POST /v1/{operation}, whatever the operation's road.
    static WireRequest encodeAsPost(const Request& request);
    /// The content of a FileContentWriteRequest stays where it is, and must outlive the result.
    static Request decode(const WireRequest& request);
    static WireAnswer encodeAnswer(Response response);
    static Response decodeAnswer(const std::vector<Header>& headers, std::string body);
};

/// The operation that a request asks for, by its place in the table.
struct Route {
    std::size_t operation = 0;
    /// Whether the body is content (with `jsonSize` bytes of JSON before it) and not JSON alone.
    bool hasContent = false;
    std::size_t jsonSize = 0;
};

/// The place of an operation in the table.
template <class Operation>
constexpr std::size_t indexOf() {
    std::size_t index = 0;
    std::size_t found = 0;
    kvxtransport::forEachOperation([&](auto operation) {
        if (std::is_same_v<decltype(operation), Operation>) {
            found = index;
        }
        ++index;
    });
    return found;
}

/// The operation that method, target and headers name; nothing if there is none.
std::optional<Route> findRoute(std::string_view method, std::string_view target,
                               const std::vector<Header>& headers);

/// The value of a header, empty without one.
std::string_view headerValue(const std::vector<Header>& headers, std::string_view name);

}  // namespace storage::kvxremote
