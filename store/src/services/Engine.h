#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "scheduler/Scheduler.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxtransport {
class DelayedCalls;
}

namespace storage::kvxstore::services {

/// What a store, its clients and their services share: the database and the threads.
class Engine {
public:
    /// The last reference to go ends the store: on a thread of a store, which cannot wait for
    /// itself, soon after.
    static std::shared_ptr<Engine> start(const std::string& url, StoreOptions options);

    /// As people may see it.
    const std::string& url() const { return url_; }
    /// As given, with the clock set.
    const StoreOptions& options() const { return options_; }
    /// Names this opening of the store among all programs that have it open.
    std::int64_t instance() const { return instance_; }
    scheduler::Scheduler& scheduler() { return scheduler_; }
    /// Makes a connection of the caller's own.
    std::unique_ptr<database::Connection> connect() const { return connect_(); }
    /// The calls that faults hold back; null when the options plan none.
    const std::shared_ptr<kvxtransport::DelayedCalls>& delayed() const { return delayed_; }

private:
    Engine(const std::string& url, StoreOptions options);

    std::string url_;
    StoreOptions options_;
    std::int64_t instance_;
    // In this order: the scheduler's end completes calls that are then held back.
    std::shared_ptr<kvxtransport::DelayedCalls> delayed_;
    database::Connector connect_;
    scheduler::Scheduler scheduler_;
};

}  // namespace storage::kvxstore::services
