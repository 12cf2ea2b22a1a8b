#include "ui/SignalWatch.h"

#include <ctime>

#include "ui/Interruption.h"
#include "ui/Prompt.h"

namespace storage::kvxtool {
namespace {

constexpr int WAKE_UP = SIGUSR1;
constexpr int END_SYSTEM_CALL = SIGUSR2;

}  // namespace

SignalWatch::SignalWatch(Progress& progress, void (*exitNow)(int))
    : progress_(progress), exitNow_(exitNow), mainThread_(pthread_self()) {
    struct sigaction nothing {};  // Without SA_RESTART.
    nothing.sa_handler = [](int) {};
    sigaction(END_SYSTEM_CALL, &nothing, nullptr);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    sigemptyset(&signals_);
    sigaddset(&signals_, WAKE_UP);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        // What the parent chose to ignore, as nohup does, stays ignored.
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&signals_, signal);
        }
    }
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    thread_ = std::thread([this] { watch(); });
}

SignalWatch::~SignalWatch() {
    ended_ = true;
    pthread_kill(thread_.native_handle(), WAKE_UP);
    thread_.join();
}

// A thread that waits for signals may do what a signal handler may not. The store need not be
// closed: what it acknowledged is on disk, and the rest never happened.
void SignalWatch::watch() {
    int signal = 0;
    sigwait(&signals_, &signal);
    if (!ended_ && Interruption::request(signal)) {
        awaitEnd();
    }
    if (!ended_) {
        restoreEcho();
        progress_.printAround([&] { exitNow_(128 + signal); });
    }
}

/// Returns when the main thread has ended, after ten seconds, or at a second signal.
void SignalWatch::awaitEnd() {
    constexpr int TURNS = 500;
    const timespec pause{0, 20'000'000};
    for (int turn = 0; turn < TURNS && sigtimedwait(&signals_, nullptr, &pause) < 0; ++turn) {
        // Repeated, since a signal may arrive just before the call that it is to end.
        pthread_kill(mainThread_, END_SYSTEM_CALL);
    }
}

}  // namespace storage::kvxtool
