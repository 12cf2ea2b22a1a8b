#pragma once

/// @file
/// The threads and listeners of a server.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "Channel.h"
#include "storage/kvxserver/Server.h"

namespace storage::kvxserver {

/// How many connections there are, and how many a limit has ended.
struct ConnectionCounts {
    std::size_t open = 0;
    /// By the limits for their number.
    std::uint64_t refused = 0;
    /// By a time that was over.
    std::uint64_t timedOut = 0;
    /// Answered without a call: heads that were too long or no HTTP.
    std::uint64_t headsRefused = 0;
};

/// Accepts connections and gives their requests to services, on threads of its own.
class Network {
public:
    explicit Network(const ServerOptions& options);
    /// Ends as stop() does.
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    /// Listens at the address of the options. Returns the port.
    std::uint16_t listen(std::shared_ptr<Service> service);
    /// Listens without TLS at the address for metrics. Returns the port.
    std::uint16_t listenForMetrics(std::shared_ptr<Service> service);
    /// Starts the threads.
    void run();
    /// How many threads the options ask for.
    static unsigned threadsFor(const ServerOptions& options);
    /// Whether the calling thread is one of them, of this network or another one.
    static bool isOnThread();
    /// Calls the function on one of the threads, unless the network ends before.
    void later(std::chrono::milliseconds delay, std::function<void()> function);
    void reloadCertificate();
    ConnectionCounts counts() const;

    /// Accepts no more connections, closes idle ones, and others after their answer.
    void drain();
    /// Waits until no connection but those of the metrics is left, at most so long.
    bool waitForConnections(std::chrono::milliseconds atMost);
    /// Ends the threads, and with them all connections.
    void stop();

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace storage::kvxserver
