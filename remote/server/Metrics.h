#pragma once

/// @file
/// What a server counts.

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "storage/kvxserver/Server.h"

namespace prometheus {
class Counter;
class Histogram;
}  // namespace prometheus

namespace storage::kvxserver {

/// Counters of calls, and gauges that are asked for when somebody looks.
class Metrics {
public:
    Metrics();
    ~Metrics();
    Metrics(const Metrics&) = delete;
    Metrics& operator=(const Metrics&) = delete;

    /// Counts a call.
    void count(const CallRecord& call);
    /// A number that is shown as it is then. One of a total only grows.
    void show(const std::string& name, const std::string& help, std::function<double()> value,
              bool isTotal = false);
    /// Everything, as Prometheus reads it.
    std::string text() const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace storage::kvxserver
