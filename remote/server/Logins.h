#pragma once

/// @file
/// Failed logins of each address.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
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
        std::erase_if(failures_, [now](const auto& entry) { return isOver(entry.second, now); });
        Failures& failures = failures_[address];
        if (failures.count == 0) {
            failures.first = now;
        }
        ++failures.count;
    }

    /// Nothing for the first ones within a minute, then a second more each time, up to 30. Logins
    /// that come together wait one after the other; none for those that would wait too long.
    std::optional<std::chrono::milliseconds> delay(const std::string& address) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = failures_.find(address);
        const auto now = Clock::now();
        if (found == failures_.end() || found->second.count < allowed_ ||
            isOver(found->second, now)) {
            return std::chrono::milliseconds(0);
        }
        Failures& failures = found->second;
        const auto free = std::max(failures.free, now) +
                          std::chrono::seconds(std::min(30U, failures.count - allowed_ + 1));
        if (free > now + std::chrono::seconds(30)) {
            return std::nullopt;
        }
        failures.free = free;
        ++delayed_;
        return std::chrono::ceil<std::chrono::milliseconds>(free - now);
    }

    /// How many logins had to wait so far.
    std::uint64_t delayed() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return delayed_;
    }

private:
    struct Failures {
        unsigned count = 0;
        Clock::time_point first;
        /// When the next login may go on.
        Clock::time_point free;
    };

    static bool isOver(const Failures& failures, Clock::time_point now) {
        return now - failures.first > std::chrono::minutes(1) && failures.free < now;
    }

    const unsigned allowed_;
    mutable std::mutex mutex_;
    std::map<std::string, Failures> failures_;
    std::uint64_t delayed_ = 0;
};

}  // namespace storage::kvxserver
