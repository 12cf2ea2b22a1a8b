#include "ui/Prompt.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <iostream>

#include "ui/Interruption.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

std::atomic<bool> echoIsOff = false;

/// Changes no other setting of standard input.
void setEcho(bool echo) {
    termios settings{};
    if (tcgetattr(STDIN_FILENO, &settings) == 0) {
        settings.c_lflag = echo ? settings.c_lflag | ECHO : settings.c_lflag & ~tcflag_t{ECHO};
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &settings);
    }
}

}  // namespace

bool confirm(const std::string& question) {
    if (isatty(STDIN_FILENO) == 0) {
        return true;
    }
    std::cerr << escaped(question) << " [y/N] " << std::flush;
    pollfd terminal{STDIN_FILENO, POLLIN, 0};
    while (poll(&terminal, 1, -1) < 0 && errno == EINTR) {  // The stream would retry the read.
        Interruption::check();
    }
    std::string answer;
    std::getline(std::cin, answer);
    return answer.starts_with('y') || answer.starts_with('Y');
}

std::string readSecret(const std::string& prompt) {
    const bool terminal = isatty(STDIN_FILENO) != 0;
    if (terminal) {
        echoIsOff = true;
        setEcho(false);
        std::cerr << prompt << std::flush;
    }
    std::string secret;
    std::getline(std::cin, secret);
    if (terminal) {
        restoreEcho();
        std::cerr << '\n';
    }
    return secret;
}

void restoreEcho() {
    if (echoIsOff.exchange(false)) {
        setEcho(true);
    }
}

}  // namespace storage::kvxtool
