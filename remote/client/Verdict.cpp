#include "client/Verdict.h"

#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "client/StreamSink.h"
#include "protocol/Errors.h"
#include "protocol/Headers.h"

namespace storage::kvxremote {

namespace {

using Code = kvxclient::KVXClientErrorCode;
using Kind = Verdict::Kind;

/// Nests the exception that is being handled when it is made.
class NetworkError : public kvxclient::KVXClientException, public std::nested_exception {
public:
    explicit NetworkError(Code code) : KVXClientException(code) {}
};

Verdict failed(Code code, std::string cause, bool refused = false) {
    return {Kind::FAILED, code, std::move(cause), {}, refused, false};
}

Verdict lost(std::string cause) {
    return {Kind::AGAIN, Code::BAD_NETWORK, std::move(cause), {}, false, true};
}

struct TlsCause {
    std::string_view part;
    const char* cause;
};

/// What libcurl and OpenSSL say of failures that another attempt does not mend.
constexpr TlsCause tlsCauses[] = {
    {"certificate has expired", "certificate has expired"},
    {"not yet valid", "certificate is not yet valid"},
    {"subject name", "certificate is for another host name"},
    {"does not match", "certificate is for another host name"},
    {"self-signed", "certificate is not of a known authority"},
    {"self signed", "certificate is not of a known authority"},
    {"issuer certificate", "certificate is not of a known authority"},
    {"verify the first certificate", "certificate is not of a known authority"},
    {"certificate required", "the server wants a client certificate"},
    {"alert certificate expired", "the client certificate has expired"},
    {"alert unknown ca", "the server does not know the client certificate's authority"},
    {"alert bad certificate", "the server refuses the client certificate"},
    {"alert handshake failure", "the server refuses TLS, or wants a client certificate"},
    {"wrong version number", "the server does not speak TLS"},
    {"SSL certificate problem", "certificate cannot be checked"},
};

const char* tlsCauseOf(std::string_view message) {
    for (const auto& [part, cause] : tlsCauses) {
        if (message.find(part) != std::string_view::npos) {
            return cause;
        }
    }
    return nullptr;
}

std::string connectCauseOf(const Exchange& exchange) {
    switch (exchange.systemError) {
        case 0:
            return "no connection";
        case ECONNREFUSED:
            return "connection refused";
        case ENOENT:
            return "there is no such socket";
        default:
            return std::generic_category().message(exchange.systemError);
    }
}

bool isConnectionClosed(CURLcode result) {
    return result == CURLE_SEND_ERROR || result == CURLE_RECV_ERROR || result == CURLE_GOT_NOTHING;
}

Verdict judgeFailure(const Exchange& exchange) {
    if (exchange.stalled) {
        return lost("no progress");
    }
    if (const char* cause = tlsCauseOf(exchange.message)) {
        return failed(Code::BAD_NETWORK, cause, true);
    }
    switch (exchange.result) {
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return lost("name not resolved");
        case CURLE_COULDNT_CONNECT:
            return lost(connectCauseOf(exchange));
        case CURLE_OPERATION_TIMEDOUT:
            return lost("no connection in time");
        case CURLE_SSL_CONNECT_ERROR:
            return lost("TLS failed: " + exchange.message);
        case CURLE_SSL_CACERT_BADFILE:
            return failed(Code::BAD_NETWORK, "the file of authorities cannot be used", true);
        case CURLE_SSL_CERTPROBLEM:
            return failed(Code::BAD_NETWORK, "the client certificate or its key cannot be used",
                          true);
        case CURLE_PEER_FAILED_VERIFICATION:
            return failed(Code::BAD_NETWORK, "certificate cannot be checked", true);
        case CURLE_GOT_NOTHING:
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR:
        case CURLE_PARTIAL_FILE:
            return lost("connection lost");
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_BAD_CONTENT_ENCODING:
            return failed(Code::INTERNAL_SERVER_ERROR, "the answer is malformed");
        case CURLE_WRITE_ERROR:
            return failed(Code::INTERNAL_SERVER_ERROR,
                          exchange.sink == nullptr || exchange.sink->failure().empty()
                              ? "the answer is malformed"
                              : exchange.sink->failure());
        default:
            return lost(curl_easy_strerror(exchange.result));
    }
}

Verdict judgeSuccess(const Exchange& exchange) {
    // Without either header an answer that was cut off looks complete.
    if (headerValue(exchange.headers, "Content-Length").empty() &&
        headerValue(exchange.headers, "Transfer-Encoding").empty()) {
        return failed(Code::INTERNAL_SERVER_ERROR, "the answer does not say where it ends");
    }
    return {};
}

Verdict judgeNoRoom(const Exchange& exchange) {
    Verdict verdict{Kind::AGAIN, Code::BAD_NETWORK, "the server has no room", {}, false, false};
    // A proxy's refusal does not say what the server behind it did.
    verdict.refused = !headerValue(exchange.headers, headers::boot).empty();
    const std::string_view after = headerValue(exchange.headers, "Retry-After");
    unsigned seconds = 0;
    const auto [end, error] = std::from_chars(after.data(), after.data() + after.size(), seconds);
    if (error == std::errc() && end == after.data() + after.size()) {
        verdict.after = std::chrono::seconds(seconds);
    }
    return verdict;
}

Verdict judgeStatus(const Exchange& exchange) {
    if (exchange.status == 416 && exchange.sink != nullptr &&
        headerValue(exchange.headers, "Content-Range") ==
            "bytes */" + std::to_string(exchange.sink->taken())) {
        return {};  // Only the end of the download had been lost.
    }
    switch (exchange.status) {
        case 429:
        case 503:
            return judgeNoRoom(exchange);
        case 401:
        case 403:
            return failed(Code::UNAUTHORIZED, "refused on the way to the server");
        case 414:
        case 431:
            if (exchange.request.method != "POST") {
                return {Kind::AS_POST, Code::UNKNOWN, "the target is too long", {}, true, false};
            }
            [[fallthrough]];
        default:
            return failed(Code::UNKNOWN, "the answer has the status " +
                                             std::to_string(exchange.status) + " and no code");
    }
}

}  // namespace

Verdict judge(const Exchange& exchange) {
    const std::string_view error = headerValue(exchange.headers, headers::error);
    if (!error.empty()) {
        const auto code = parseError(error);
        return code ? failed(*code, {}, true)
                    : failed(Code::INTERNAL_SERVER_ERROR, "the answer is malformed");
    }
    if (exchange.resent || (exchange.reused && exchange.status == 0 && !exchange.stalled &&
                            isConnectionClosed(exchange.result))) {
        return {Kind::AT_ONCE, Code::BAD_NETWORK, "connection lost", {}, false, false};
    }
    if (exchange.result != CURLE_OK) {
        return judgeFailure(exchange);
    }
    if (exchange.status >= 200 && exchange.status < 300) {
        return judgeSuccess(exchange);
    }
    if (!headerValue(exchange.headers, headers::inDoubt).empty()) {
        return failed(Code::BAD_NETWORK,
                      "the server does not know whether it carried out the first attempt");
    }
    return judgeStatus(exchange);
}

std::exception_ptr makeError(Code code, const std::string& cause) {
    if (cause.empty()) {
        return std::make_exception_ptr(kvxclient::KVXClientException(code));
    }
    try {
        throw std::runtime_error(cause);
    } catch (...) {
        return std::make_exception_ptr(NetworkError(code));
    }
}

}  // namespace storage::kvxremote
