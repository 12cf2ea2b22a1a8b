#pragma once

/// @file
/// Failed logins of each address.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace storage::kvxserver {

/// Says how long a login has to wait: whoever guesses tokens gets slower and slower.
class Logins {
public:
    using Clock = std::chrono::steady_clock;

    explicit Logins(unsigned allowed) : allowed_(allowed) {}

    void failed(const std::string& address) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto now = Clock::now();
        std::erase_if(failures_, [now](const auto& entry) {
            return now - entry.second.last > std::chrono::minutes(1);
        });
        Failures& failures = failures_[address];
        ++failures.count;
        failures.last = now;
    }

    /// Nothing for the first ones within a minute, then a second more each time, up to 30.
    std::chrono::milliseconds delay(const std::string& address) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = failures_.find(address);
        if (found == failures_.end() || found->second.count < allowed_ ||
            Clock::now() - found->second.last > std::chrono::minutes(1)) {
            return {};
        }
        ++delayed_;
        return std::chrono::seconds(std::min(30U, found->second.count - allowed_ + 1));
    }

    /// How many logins had to wait so far.
    std::uint64_t delayed() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return delayed_;
    }

private:
    struct Failures {
        unsigned count = 0;
        Clock::time_point last;
    };

    const unsigned allowed_;
    mutable std::mutex mutex_;
    std::map<std::string, Failures> failures_;
    std::uint64_t delayed_ = 0;
};

}  // namespace storage::kvxserver
