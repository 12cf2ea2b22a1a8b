#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace storage::kvxremote {

/// A network that misbehaves: passes bytes on between clients and a server on this machine.
class Proxy {
public:
    static constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();

    explicit Proxy(std::uint16_t server);
    /// The server's socket is in the file system.
    explicit Proxy(std::string server);
    ~Proxy();
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    std::uint16_t port() const { return port_; }

    /// Cuts a connection once, when so many more bytes went to the server or came from it.
    void cutAfter(std::int64_t toServer, std::int64_t fromServer);
    /// Passes blocks of so many bytes at most, each so much later.
    void slowDown(std::size_t block, std::chrono::milliseconds delay);
    /// Passes nothing more, and keeps the connections, until it is called with false.
    void hold(bool holds) { holds_ = holds; }
    /// How many connections it has cut.
    unsigned cuts() const { return cuts_; }
    /// The bytes that went to the server so far.
    std::int64_t bytesToServer() const { return passed_[0]; }
    /// The bytes that came from the server so far.
    std::int64_t bytesFromServer() const { return passed_[1]; }

private:
    void listen();
    /// A connection to the server, or a socket without one.
    int reach(bool& open) const;
    void accept();
    void serve(int client);
    /// Passes on what there is; false at the end of the connection.
    bool pass(int from, int to, int direction);

    std::uint16_t server_ = 0;
    std::string path_;
    std::uint16_t port_ = 0;
    int listener_ = -1;
    std::atomic<bool> stops_{false};
    std::atomic<bool> holds_{false};
    std::atomic<std::size_t> block_{65536};
    std::atomic<std::int64_t> delay_{0};
    std::atomic<unsigned> cuts_{0};
    /// To the server, and from it.
    std::atomic<std::int64_t> passed_[2] = {0, 0};
    std::atomic<std::int64_t> cutAt_[2] = {never, never};
    std::mutex mutex_;
    std::vector<std::thread> connections_;
    std::thread acceptor_;
};

}  // namespace storage::kvxremote
