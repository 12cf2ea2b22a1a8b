#pragma once

#include <curl/curl.h>

#include <chrono>
#include <string>
#include <vector>

#include "protocol/Wire.h"

namespace storage::kvxremote {

class StreamSink;

/// A request, and what the last attempt to send it brought.
struct Exchange {
    WireRequest request;
    /// Headers of this attempt alone.
    std::vector<Header> extraHeaders;
    /// Whether this attempt needs a connection of its own.
    bool fresh = false;
    /// Whether a large body waits until the server asks for it.
    bool expects = true;
    /// Takes the bodies of successful answers; null when `body` does.
    StreamSink* sink = nullptr;

    unsigned status = 0;
    std::vector<Header> headers;
    std::string body;

    CURLcode result = CURLE_OK;
    /// What libcurl and the system say of a failure.
    std::string message;
    int systemError = 0;
    /// Whether any of the request may have left.
    bool sent = false;
    /// Whether libcurl would have sent it a second time.
    bool resent = false;
    /// Whether the connection had served before.
    bool reused = false;
    /// Whether it was given up since nothing moved.
    bool stalled = false;

    /// Forgets what an attempt brought.
    void clearAnswer() {
        status = 0;
        headers.clear();
        body.clear();
        result = CURLE_OK;
        message.clear();
        systemError = 0;
        sent = resent = reused = stalled = false;
    }
};

}  // namespace storage::kvxremote
