#include <algorithm>
#include <atomic>
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "server/Calls.h"
#include "server/Network.h"
#include "storage/kvxtransport/Services.h"

// Reads the input as what comes over a connection: requests one behind the other, with their
// bodies, as far as to the transport that a server stands before.

using namespace storage;
using namespace storage::kvxserver;
namespace http = boost::beast::http;

namespace {

/// A transport that succeeds at once, but without a session.
struct Succeeding {
    template <class Operation>
    void call(const kvxtransport::Caller& caller, typename Operation::Request request,
              typename Operation::Handler handler) const {
        typename Operation::Response response;
        if (Operation::need == kvxtransport::Need::SESSION && caller.sessionId().empty()) {
            return handler({}, std::make_exception_ptr(kvxclient::KVXClientException(
                                   kvxclient::KVXClientErrorCode::UNAUTHORIZED)));
        }
        if constexpr (requires { response.withFileHandleId("h"); }) {
            response.withFileHandleId("h");
        } else if constexpr (requires { response.withSessionId("s"); }) {
            response.withSessionId("s");
        } else if constexpr (requires { request.getStreamFactory(); }) {
            *request.getStreamFactory()() << "content";
        }
        handler(std::move(response), nullptr);
    }
    void cancelPendingCalls() const {}
    void waitForPendingCalls() const {}
};

/// A connection that has the body already.
class Fed final : public Channel {
public:
    Fed(std::string body, std::atomic<int>& open) : body_(std::move(body)), open_(open) { ++open_; }
    ~Fed() override {
        if (answers_ > 1) {
            std::abort();
        }
        --open_;
    }

    const std::string& peer() const override { return peer_; }
    void read(char* into, std::size_t size, std::function<void(bool)> done) override {
        const std::size_t part = std::min(size, body_.size());
        std::memcpy(into, body_.data(), part);
        body_.erase(0, part);
        done(part == size);
    }
    void answer(Answer answer, std::function<void(std::uint64_t, bool)> written) override {
        ++answers_;
        take(std::move(answer.source), answer.text.size(), std::move(written));
    }
    void cut() override {}

private:
    using Written = std::function<void(std::uint64_t, bool)>;

    static void take(std::shared_ptr<Source> source, std::uint64_t bytes, Written written) {
        if (!source) {
            return written(bytes, true);
        }
        source->next([source, bytes, written](std::optional<std::string_view> block) {
            const bool ends = !block || block->empty();
            ends ? written(bytes, block.has_value()) : take(source, bytes + block->size(), written);
        });
    }

    const std::string peer_ = "127.0.0.1";
    std::string body_;
    std::atomic<int>& open_;
    std::atomic<int> answers_{0};
};

std::optional<Head> readHead(std::string_view& text) {
    http::request_parser<http::empty_body> parser;
    parser.header_limit(65'536);
    parser.body_limit(UINT64_MAX);
    parser.eager(false);
    boost::system::error_code error;
    text.remove_prefix(parser.put(boost::asio::buffer(text.data(), text.size()), error));
    if (error || !parser.is_header_done()) {
        return std::nullopt;
    }
    Head head;
    head.method = std::string(parser.get().method_string());
    head.target = std::string(parser.get().target());
    for (const auto& field : parser.get()) {
        head.headers.emplace_back(field.name_string(), field.value());
    }
    if (parser.content_length()) {
        head.length = *parser.content_length();
    }
    head.chunked = parser.chunked();
    return head;
}

ServerOptions smallOptions() {
    ServerOptions options;
    options.bodySize = 65'536;
    options.jsonSize = 65'536;
    return options;
}

}  // namespace

// Instead of a network: calls are made on the thread that brings them.
unsigned Network::threadsFor(const ServerOptions&) { return 2; }
bool Network::isOnThread() { return true; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::atomic<int> open{0};
    std::string_view text(reinterpret_cast<const char*>(data), size);
    {
        const auto shared = std::make_shared<Shared>(
            smallOptions(),
            [] {
                return std::make_unique<kvxtransport::DispatchingClient<Succeeding>>("",
                                                                                     Succeeding());
            },
            nullptr, [](std::chrono::milliseconds, const std::function<void()>& task) { task(); });
        Calls calls(shared);
        while (auto head = readHead(text)) {
            const std::size_t length =
                std::min<std::uint64_t>(head->length.value_or(0), text.size());
            calls.begin(std::make_shared<Fed>(std::string(text.substr(0, length)), open),
                        *std::move(head));
            text.remove_prefix(length);
        }
        calls.end();
    }
    if (open != 0) {
        std::abort();  // A call was forgotten.
    }
    return 0;
}
