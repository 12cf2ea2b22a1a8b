#pragma once

#include <atomic>
#include <csignal>
#include <thread>

#include "Progress.h"

namespace storage::kvxtool {

/// While it lives, SIGINT, SIGTERM and SIGHUP end the process with 128 plus the signal's number,
/// after the progress bar and the temporary files are gone. A write beyond the limit for the size
/// of files, or to a pipe that nobody reads, is an error like others. To be made before other
/// threads are started.
class SignalWatch {
public:
    explicit SignalWatch(Progress& progress);
    ~SignalWatch();

    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

private:
    void watch();

    Progress& progress_;
    sigset_t signals_;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

}  // namespace storage::kvxtool
