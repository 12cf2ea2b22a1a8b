#include "local/LocalWatch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <system_error>

namespace storage::kvxtool {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds QUIET_TIME{200};
constexpr std::chrono::seconds LONGEST_WAIT_FOR_QUIET{5};
constexpr unsigned CHANGES = IN_CREATE | IN_DELETE | IN_MOVE | IN_MODIFY | IN_ATTRIB |
                             IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

LocalWatch::LocalWatch(const fs::path& top)
    : queue_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), complete_(queue_ >= 0) {
    add(top);
    std::error_code error;
    fs::recursive_directory_iterator entry(top, error);
    while (!error && complete_ && entry != fs::recursive_directory_iterator()) {
        // Watched before it is read: what comes between the two is not missed.
        if (fs::is_directory(entry->symlink_status(error))) {
            add(entry->path());
        }
        entry.increment(error);
    }
    complete_ = complete_ && !error;
}

LocalWatch::~LocalWatch() {
    if (queue_ >= 0) {
        close(queue_);
    }
}

void LocalWatch::add(const fs::path& folder) {
    complete_ = complete_ && inotify_add_watch(queue_, folder.c_str(), CHANGES) >= 0;
}

void LocalWatch::wait(milliseconds atMost) const {
    if (!hasEvent(atMost)) {
        return;
    }
    const auto end = std::chrono::steady_clock::now() + LONGEST_WAIT_FOR_QUIET;
    do {
        takeEvents();
    } while (std::chrono::steady_clock::now() < end && hasEvent(QUIET_TIME));
}

bool LocalWatch::hasEvent(milliseconds timeout) const {
    pollfd wanted{queue_, POLLIN, 0};
    return poll(&wanted, 1, static_cast<int>(timeout.count())) > 0;
}

void LocalWatch::takeEvents() const {
    std::array<char, 65536> events{};
    while (read(queue_, events.data(), events.size()) > 0) {
    }
}

}  // namespace storage::kvxtool
