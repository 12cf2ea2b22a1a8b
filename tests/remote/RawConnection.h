#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>

// Requests that no client of ours sends.

namespace storage::kvxremote {

struct RawAnswer {
    int status = 0;
    std::string head;
    std::string body;

    bool has(const std::string& line) const { return head.find(line) != std::string::npos; }
};

/// A connection on which a test writes what it likes.
class RawConnection {
public:
    /// Comes from 127.0.0.`host`.
    explicit RawConnection(std::uint16_t port, std::uint32_t host = 1)
        : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl((INADDR_LOOPBACK & ~255U) | host);
        ::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval patience{20, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        const int result =
            ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        // Where nobody listens any more, a socket that got this very port connects to itself.
        sockaddr_in own{};
        socklen_t size = sizeof own;
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&own), &size);
        if (result != 0 ||
            (own.sin_port == address.sin_port && own.sin_addr.s_addr == address.sin_addr.s_addr)) {
            ::close(socket_);
            throw std::runtime_error("cannot connect");
        }
    }
    ~RawConnection() { ::close(socket_); }
    RawConnection(const RawConnection&) = delete;
    RawConnection& operator=(const RawConnection&) = delete;

    int socket() const { return socket_; }

    void write(const std::string& text) const {
        ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL);
    }

    /// Reads one answer with a Content-Length; status 0 when the connection ends before.
    RawAnswer read() {
        RawAnswer answer;
        while (in_.find("\r\n\r\n") == std::string::npos) {
            if (!more()) {
                return answer;
            }
        }
        const std::size_t end = in_.find("\r\n\r\n") + 4;
        answer.head = in_.substr(0, end);
        const std::size_t at = answer.head.find("Content-Length: ");
        const std::size_t size =
            at == std::string::npos ? 0 : std::stoul(answer.head.substr(at + 16));
        while (in_.size() < end + size && more()) {
        }
        answer.body = in_.substr(end, size);
        in_.erase(0, end + size);
        answer.status = std::stoi(answer.head.substr(9, 3));
        return answer;
    }

    RawAnswer ask(const std::string& text) {
        write(text);
        return read();
    }

    /// Whether the other side closes.
    bool closes() {
        while (more()) {
        }
        return true;
    }

private:
    bool more() {
        char block[4096];
        const ssize_t size = ::recv(socket_, block, sizeof block, 0);
        in_.append(block, size > 0 ? static_cast<std::size_t>(size) : 0);
        return size > 0;
    }

    int socket_;
    std::string in_;
};

/// A request with a body of its own length, unless the headers say it.
inline std::string request(const std::string& line, const std::string& headers = "",
                           const std::string& body = "") {
    std::string text = line + " HTTP/1.1\r\nHost: a\r\n" + headers;
    if (headers.find("Content-Length") == std::string::npos) {
        text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }
    return text + "\r\n" + body;
}

}  // namespace storage::kvxremote
