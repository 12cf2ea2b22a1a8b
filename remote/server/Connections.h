#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Network.h"

namespace storage::kvxserver {

/// A connection as its listener sees it.
class Closable {
public:
    virtual ~Closable() = default;
    virtual void closeIfIdle() = 0;
};

/// The connections that are open, with the limits for their number.
class Connections {
public:
    explicit Connections(const ServerOptions& options) : options_(options) {}

    bool enter(const std::string& address) {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::size_t& same = ofAddress_[address];
        if (draining_ || counts_.open >= options_.connections ||
            (address != "unix" && same >= options_.connectionsOfAddress)) {
            ++counts_.refused;
            if (same == 0) {
                ofAddress_.erase(address);
            }
            return false;
        }
        ++counts_.open;
        ++same;
        return true;
    }

    void keep(const std::shared_ptr<Closable>& connection) {
        const std::lock_guard<std::mutex> lock(mutex_);
        all_[connection.get()] = connection;
    }

    void leave(Closable* connection, const std::string& address) {
        const std::lock_guard<std::mutex> lock(mutex_);
        all_.erase(connection);
        if (--ofAddress_[address] == 0) {
            ofAddress_.erase(address);
        }
        if (--counts_.open == 0) {
            emptied_.notify_all();
        }
    }

    void timedOut() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++counts_.timedOut;
    }

    void headRefused() {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++counts_.headsRefused;
    }

    void drain() {
        std::vector<std::shared_ptr<Closable>> open;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            draining_ = true;
            for (auto& [key, weak] : all_) {
                if (auto connection = weak.lock()) {
                    open.push_back(std::move(connection));
                }
            }
        }
        for (auto& connection : open) {
            connection->closeIfIdle();
        }
    }

    bool waitUntilEmpty(std::chrono::milliseconds atMost) {
        std::unique_lock<std::mutex> lock(mutex_);
        return emptied_.wait_for(lock, atMost, [this] { return counts_.open == 0; });
    }

    ConnectionCounts counts() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return counts_;
    }

    bool draining() const { return draining_; }
    const ServerOptions& options() const { return options_; }

private:
    const ServerOptions options_;
    std::mutex mutex_;
    std::condition_variable emptied_;
    std::map<Closable*, std::weak_ptr<Closable>> all_;
    std::map<std::string, std::size_t> ofAddress_;
    ConnectionCounts counts_;
    std::atomic<bool> draining_{false};
};

/// Ends the place of a connection among the others.
struct Place {
    std::shared_ptr<Connections> connections;
    std::string address;
    Closable* connection = nullptr;
    ~Place() { connections->leave(connection, address); }
};

}  // namespace storage::kvxserver
