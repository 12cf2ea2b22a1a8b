#pragma once

/// @file
/// What the parts that carry out calls see of a connection: a request comes in, its body is read,
/// an answer goes out.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/Wire.h"

namespace storage::kvxserver {

/// The head of a request.
struct Head {
    std::string method;
    std::string target;
    std::vector<kvxremote::Header> headers;
    /// Content-Length.
    std::optional<std::uint64_t> length;
    bool chunked = false;
};

/// The bytes of an answer's body, which may still be on their way.
class Source {
public:
    /// Takes the next block, which is valid until next() is called again; empty at the end. Nothing
    /// means that the body failed.
    using Ready = std::function<void(std::optional<std::string_view> block)>;

    virtual ~Source() = default;
    /// Calls `ready` once, at once or later and on any thread.
    virtual void next(Ready ready) = 0;
    /// The value of the trailer KVX-Error when the body failed.
    virtual std::string failure() const { return {}; }
};

/// An answer: a text, or a source.
struct Answer {
    unsigned status = 200;
    std::vector<kvxremote::Header> headers;
    std::string text;
    std::unique_ptr<Source> source;
    /// The size of what the source gives; sent in chunks without it.
    std::optional<std::uint64_t> size;
};

/// A connection that waits for the answer to one request. Any thread may call any member.
class Channel {
public:
    virtual ~Channel() = default;

    /// The address of the other side, "unix" for a socket in the file system.
    virtual const std::string& peer() const = 0;
    /// Reads the next bytes of the body, and says on the connection's strand whether all came.
    /// REQUIRES: `into` lasts until then.
    virtual void read(char* into, std::size_t size, std::function<void(bool)> done) = 0;
    /// Sends the answer, once a request, and says how many bytes of a body went out and whether
    /// all did.
    virtual void answer(Answer answer, std::function<void(std::uint64_t, bool)> written) = 0;
    /// Closes the connection.
    virtual void cut() = 0;
};

/// What requests are given to.
class Service {
public:
    virtual ~Service() = default;
    /// Answers the request on its channel, at once or later.
    virtual void begin(std::shared_ptr<Channel> channel, Head head) = 0;
};

}  // namespace storage::kvxserver
