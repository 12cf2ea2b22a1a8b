#include "Proxy.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace storage::kvxremote {

namespace {

constexpr int shortWhile = 5;  // Milliseconds.

int check(int result) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), "proxy");
    }
    return result;
}

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

bool isReadable(int socket, int milliseconds) {
    pollfd entry{socket, POLLIN, 0};
    return poll(&entry, 1, milliseconds) > 0;
}

bool sendAll(int socket, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t sent = send(socket, data, size, MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

}  // namespace

Proxy::Proxy(std::uint16_t server) : server_(server) { listen(); }

Proxy::Proxy(std::string server) : path_(std::move(server)) { listen(); }

void Proxy::listen() {
    listener_ = check(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof(address);
    check(bind(listener_, reinterpret_cast<sockaddr*>(&address), size));
    check(::listen(listener_, 64));
    check(getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size));
    port_ = ntohs(address.sin_port);
    acceptor_ = std::thread([this] { accept(); });
}

Proxy::~Proxy() {
    stops_ = true;
    acceptor_.join();
    for (std::thread& connection : connections_) {
        connection.join();
    }
    close(listener_);
}

void Proxy::cutAfter(std::int64_t toServer, std::int64_t fromServer) {
    cutAt_[0] = toServer == never ? never : passed_[0] + toServer;
    cutAt_[1] = fromServer == never ? never : passed_[1] + fromServer;
}

void Proxy::slowDown(std::size_t block, std::chrono::milliseconds delay) {
    block_ = block;
    delay_ = delay.count();
}

void Proxy::accept() {
    while (!stops_) {
        if (isReadable(listener_, shortWhile)) {
            const int client = ::accept(listener_, nullptr, nullptr);
            const std::lock_guard lock(mutex_);
            connections_.emplace_back([this, client] { serve(client); });
        }
    }
}

int Proxy::reach(bool& open) const {
    const int server =
        check(socket(path_.empty() ? AF_INET : AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (path_.empty()) {
        const sockaddr_in address = loopback(server_);
        open = connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    } else {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path_.copy(address.sun_path, sizeof(address.sun_path) - 1);
        open = connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }
    return server;
}

void Proxy::serve(int client) {
    bool open = false;
    const int server = reach(open);
    for (const int end : {client, server}) {
        const int yes = 1;
        setsockopt(end, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof(yes));
    }
    while (open && !stops_) {
        pollfd ends[] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
        if (holds_ || poll(ends, 2, shortWhile) <= 0) {
            if (holds_) {
                std::this_thread::sleep_for(std::chrono::milliseconds(shortWhile));
            }
            continue;
        }
        open = (ends[0].revents == 0 || pass(client, server, 0)) &&
               (ends[1].revents == 0 || pass(server, client, 1));
    }
    close(client);
    close(server);
}

bool Proxy::pass(int from, int to, int direction) {
    char buffer[65536];
    const ssize_t got = recv(from, buffer, std::min(sizeof(buffer), block_.load()), 0);
    if (got <= 0) {
        return false;
    }
    const std::int64_t rest = cutAt_[direction] - passed_[direction];
    const bool cuts = rest <= got;
    const auto size = static_cast<std::size_t>(cuts ? std::max<std::int64_t>(rest, 0) : got);
    if (delay_ > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(delay_));
    }
    passed_[direction] += static_cast<std::int64_t>(size);
    const bool sent = sendAll(to, buffer, size);
    if (cuts) {
        cutAt_[0] = cutAt_[1] = never;
        ++cuts_;
    }
    return sent && !cuts;
}

}  // namespace storage::kvxremote
