#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace storage::kvxremote {

/// Why calls fail after one on the same handle that may not have arrived.
inline constexpr const char* lostCall = "an earlier call on the handle was lost";

/// Numbers the calls on each handle that was opened for writing: the server carries them out in
/// this order, so a number that never arrives keeps all later ones waiting.
class Orders {
public:
    using Clock = std::chrono::steady_clock;

private:
    /// The calls on one handle.
    struct Lane {
        std::uint64_t last = 0;
        /// Numbers given out whose calls are not over.
        std::set<std::uint64_t> open;
        /// A number may never have arrived.
        bool broken = false;
        Clock::time_point used;
    };

public:
    /// A call's number on its handle; 0 for calls without order.
    struct Place {
        std::shared_ptr<Lane> lane;
        std::uint64_t number = 0;
    };

    /// A session and the id of a handle: another session's calls on it have no order.
    using Key = std::pair<std::string, std::string>;

    void open(const Key& handle, Clock::time_point now = Clock::now());
    void close(const Key& handle);
    /// The place of the next call on the handle.
    Place next(const Key& handle, Clock::time_point now = Clock::now());
    /// The call is over. `arrived` says whether the server certainly had it. Returns whether the
    /// handle broke.
    bool leave(const Place& place, bool arrived);

    bool isBroken(const Place& place);
    /// Whether the call must wait for another one at the server.
    bool isBehind(const Place& place);
    /// How many handles have numbers.
    std::size_t count();

private:
    std::mutex mutex_;
    std::map<Key, std::shared_ptr<Lane>> lanes_;
};

}  // namespace storage::kvxremote
