#pragma once

/// @file
/// Carries out calls: from a request to the transport that is served and back.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "Budget.h"
#include "Channel.h"
#include "Entry.h"
#include "Handles.h"
#include "Logins.h"
#include "Metrics.h"
#include "Outcomes.h"
#include "Sessions.h"
#include "storage/kvxserver/Server.h"

namespace storage::kvxserver {

/// Large listings at once, of all and of one user.
inline constexpr std::size_t heavyCalls = 4;
inline constexpr std::size_t heavyCallsOfUser = 2;

/// The calls under way, with the limits for their number.
class Running {
public:
    Running(std::size_t most, std::size_t mostOfUser) : most_(most), mostOfUser_(mostOfUser) {}

    bool enter(const std::string& user);
    void leave(const std::string& user);
    bool waitUntilNone(std::chrono::milliseconds atMost);
    std::size_t count() const;

private:
    const std::size_t most_;
    const std::size_t mostOfUser_;
    mutable std::mutex mutex_;
    std::condition_variable emptied_;
    std::size_t count_ = 0;
    std::map<std::string, std::size_t> ofUser_;
};

/// What all calls of a server share.
struct Shared {
    using Later = std::function<void(std::chrono::milliseconds, std::function<void()>)>;

    Shared(const ServerOptions& serverOptions, Sessions::Factory factory, Server::Log logging,
           Later timer);

    const ServerOptions options;
    const Server::Log log;
    const Later later;
    const std::string boot;
    Sessions sessions;
    Outcomes outcomes;
    Handles handles;
    Logins logins;
    Running running;
    Metrics metrics;
    const std::shared_ptr<Budget> content;
    const std::shared_ptr<Budget> heavy;
    std::atomic<bool> draining{false};
    std::atomic<bool> ending{false};
    /// Last: its threads use the rest.
    Entry entry;
};

/// The service that the network gives requests to.
class Calls final : public Service {
public:
    explicit Calls(std::shared_ptr<Shared> shared) : shared_(std::move(shared)) {}

    void begin(std::shared_ptr<Channel> channel, Head head) override;

    /// Looks once a second for what waited or was unused for too long.
    void watch();
    /// Begins no more calls; those under way may end for so long.
    void drain(std::chrono::milliseconds atMost);
    /// Cancels what is left, aborts open handles, and ends.
    void end();

private:
    void abortHandles(std::chrono::milliseconds idle);

    const std::shared_ptr<Shared> shared_;
};

}  // namespace storage::kvxserver
