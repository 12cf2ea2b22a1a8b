#include "client/Orders.h"

#include <iterator>

namespace storage::kvxremote {

namespace {

/// Servers abort handles that are unused for long, so the client may forget them, too.
constexpr std::chrono::hours unusedTime(2);

}  // namespace

void Orders::open(const Key& handle, Clock::time_point now) {
    const std::lock_guard lock(mutex_);
    for (auto lane = lanes_.begin(); lane != lanes_.end();) {
        const bool unused = lane->second->open.empty() && now - lane->second->used > unusedTime;
        lane = unused ? lanes_.erase(lane) : std::next(lane);
    }
    auto& lane = lanes_[handle];
    lane = std::make_shared<Lane>();
    lane->used = now;
}

void Orders::close(const Key& handle) {
    const std::lock_guard lock(mutex_);
    lanes_.erase(handle);
}

Orders::Place Orders::next(const Key& handle, Clock::time_point now) {
    const std::lock_guard lock(mutex_);
    const auto found = lanes_.find(handle);
    if (found == lanes_.end()) {
        return {};
    }
    Lane& lane = *found->second;
    lane.used = now;
    lane.open.insert(++lane.last);
    return {found->second, lane.last};
}

bool Orders::leave(const Place& place, bool arrived) {
    if (!place.lane) {
        return false;
    }
    const std::lock_guard lock(mutex_);
    place.lane->open.erase(place.number);
    const bool breaks = !arrived && !place.lane->broken;
    place.lane->broken = place.lane->broken || breaks;
    return breaks;
}

bool Orders::isBroken(const Place& place) {
    const std::lock_guard lock(mutex_);
    return place.lane && place.lane->broken;
}

bool Orders::isBehind(const Place& place) {
    const std::lock_guard lock(mutex_);
    return place.lane && *place.lane->open.begin() < place.number;
}

std::size_t Orders::count() {
    const std::lock_guard lock(mutex_);
    return lanes_.size();
}

}  // namespace storage::kvxremote
