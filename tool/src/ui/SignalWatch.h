#pragma once

#include <atomic>
#include <csignal>
#include <thread>

#include "ui/Progress.h"

namespace storage::kvxtool {

/// While it lives, SIGINT, SIGTERM and SIGHUP end the process with 128 plus the signal's number: by
/// `exitNow`, called once the progress bar is gone. Where an Interruption lives, the main
/// thread has some seconds to end the process itself; a second signal ends it at once. A write
/// beyond the limit for the size of files, or to a pipe that nobody reads, is an ordinary error.
/// REQUIRES: it is made on the main thread before others are started.
class SignalWatch {
public:
    SignalWatch(Progress& progress, void (*exitNow)(int exitCode));
    ~SignalWatch();

    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

private:
    void watch();
    void awaitEnd();

    Progress& progress_;
    void (*const exitNow_)(int exitCode);
    sigset_t signals_;
    pthread_t mainThread_;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

}  // namespace storage::kvxtool
