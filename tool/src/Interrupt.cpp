#include "Interrupt.h"

#include <csignal>
#include <thread>

#include "LocalOutput.h"

namespace storage::kvxtool {

void endCleanlyOnSignals(Progress& progress) {
    std::signal(SIGXFSZ, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        // What the parent chose to ignore, as nohup does, stays ignored.
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&signals, signal);
        }
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // A thread that waits for the signals may do what a signal handler may not. The store needs no
    // farewell: what it acknowledged is on disk, and the rest never happened.
    std::thread([signals, &progress] {
        int signal = 0;
        sigwait(&signals, &signal);
        progress.printAround([signal] { LocalOutput::removeTemporaryFilesAndExit(128 + signal); });
    }).detach();
}

}  // namespace storage::kvxtool
