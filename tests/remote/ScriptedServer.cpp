#include "ScriptedServer.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string_view>

namespace storage::kvxremote::testing {

namespace {

constexpr const char* bootId = "00000000000000b1";

/// A connection, encrypted or not.
struct Stream {
    int socket;
    std::unique_ptr<SSL, void (*)(SSL*)> tls{nullptr, SSL_free};
};

bool sendAll(const Stream& stream, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent =
            stream.tls ? SSL_write(stream.tls.get(), bytes.data(), static_cast<int>(bytes.size()))
                       : send(stream.socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

bool receiveMore(const Stream& stream, std::string& text) {
    char buffer[16384];
    const ssize_t size = stream.tls ? SSL_read(stream.tls.get(), buffer, sizeof buffer)
                                    : recv(stream.socket, buffer, sizeof buffer, 0);
    if (size > 0) {
        text.append(buffer, static_cast<std::size_t>(size));
    }
    return size > 0;
}

/// Reads a request and leaves what follows it in `text`; false at the connection's end.
bool receiveRequest(const Stream& stream, std::string& text, SeenRequest& request) {
    std::size_t end = 0;
    while ((end = text.find("\r\n\r\n")) == std::string::npos) {
        if (!receiveMore(stream, text)) {
            return false;
        }
    }
    request.head = text.substr(0, end + 2);
    text.erase(0, end + 4);
    if (!request.header("Expect").empty()) {
        sendAll(stream, "HTTP/1.1 100 Continue\r\n\r\n");
    }
    const std::string length = request.header("Content-Length");
    const std::size_t size = length.empty() ? 0 : std::stoul(length);
    while (text.size() < size) {
        if (!receiveMore(stream, text)) {
            return false;
        }
    }
    request.body = text.substr(0, size);
    text.erase(0, size);
    return true;
}

}  // namespace

Reaction answer(int status, const std::string& headers, const std::string& body) {
    return {"HTTP/1.1 " + std::to_string(status) + " X\r\nKVX-Boot: " + bootId + "\r\n" + headers +
            "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body};
}

std::string SeenRequest::header(const std::string& name) const {
    const std::size_t begin = head.find("\r\n" + name + ": ");
    if (begin == std::string::npos) {
        return {};
    }
    const std::size_t value = begin + name.size() + 4;
    return head.substr(value, head.find("\r\n", value) - value);
}

ScriptedServer::ScriptedServer(std::deque<Reaction> script, std::string maxBody,
                               const std::string& certificate)
    : maxBody_(std::move(maxBody)), script_(std::move(script)) {
    if (!certificate.empty()) {
        tls_.reset(SSL_CTX_new(TLS_server_method()));
        SSL_CTX_use_certificate_chain_file(tls_.get(), certificate.c_str());
        SSL_CTX_use_PrivateKey_file(tls_.get(), certificate.c_str(), SSL_FILETYPE_PEM);
    }
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        listen(listener_, 1024) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("cannot listen");
    }
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { accept(); });
}

ScriptedServer::~ScriptedServer() {
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    {
        const std::lock_guard lock(mutex_);
        for (const int socket : sockets_) {
            shutdown(socket, SHUT_RDWR);
        }
    }
    for (std::thread& thread : threads_) {
        thread.join();
    }
    for (const int socket : sockets_) {
        close(socket);
    }
    close(listener_);
}

std::vector<SeenRequest> ScriptedServer::seen() const {
    const std::lock_guard lock(mutex_);
    return seen_;
}

void ScriptedServer::waitFor(std::size_t requests) const {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return seen_.size() >= requests; });
}

void ScriptedServer::accept() {
    for (int socket = -1, number = 0; (socket = ::accept(listener_, nullptr, nullptr)) >= 0;) {
        const std::lock_guard lock(mutex_);
        sockets_.push_back(socket);
        ++number;
        threads_.emplace_back([this, socket, number] { serve(socket, number); });
    }
}

void ScriptedServer::serve(int socket, int number) {
    std::string text;
    SeenRequest request;
    request.connection = number;
    Stream stream{socket};
    if (tls_) {
        stream.tls.reset(SSL_new(tls_.get()));
        SSL_set_fd(stream.tls.get(), socket);
        SSL_set_accept_state(stream.tls.get());
    }
    while (receiveRequest(stream, text, request)) {
        request.resumed = stream.tls && SSL_session_reused(stream.tls.get()) != 0;
        const Reaction reaction = reactTo(request);
        sendAll(stream, reaction.bytes);
        if (reaction.then == Reaction::Then::CLOSE) {
            shutdown(socket, SHUT_RDWR);
            return;
        }
    }
}

Reaction ScriptedServer::reactTo(const SeenRequest& request) {
    if (request.line() == "GET /v1/hello") {
        return answer(200, {},
                      std::string(R"({"protocol":1,"boot":")") + bootId + R"(","maxBody":)" +
                          maxBody_ + R"(,"maxJson":1048576})");
    }
    const std::lock_guard lock(mutex_);
    seen_.push_back(request);
    changed_.notify_all();
    if (script_.empty()) {
        return answer(200);
    }
    Reaction reaction = script_.front();
    script_.pop_front();
    return reaction;
}

}  // namespace storage::kvxremote::testing
