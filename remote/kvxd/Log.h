#pragma once

/// @file
/// The log of kvxd: lines of JSON on standard error.

#include <memory>
#include <string>

#include "storage/kvxserver/Server.h"

namespace spdlog {
class logger;
}

namespace storage::kvxd {

/// Writes whole lines; any thread may call any member.
class Log {
public:
    /// At "info" it tells of each call, at "debug" its path as well, at "warn" only what failed by
    /// a fault of the server.
    explicit Log(const std::string& level);

    void tell(const kvxserver::CallRecord& call);
    void tell(const std::string& event, unsigned port = 0, unsigned metricsPort = 0);
    void warn(const std::string& problem);

private:
    std::shared_ptr<spdlog::logger> logger_;
};

}  // namespace storage::kvxd
