#include "ui/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

constexpr std::chrono::milliseconds DELAY(500);
constexpr std::chrono::milliseconds INTERVAL(100);

/// "9 s", "1:05", "2:00:00".
std::string timeText(double time) {
    const auto seconds = static_cast<long>(time);
    char text[32];
    if (seconds < 60) {
        std::snprintf(text, sizeof text, "%ld s", seconds);
    } else if (seconds < 3600) {
        std::snprintf(text, sizeof text, "%ld:%02ld", seconds / 60, seconds % 60);
    } else {
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", seconds / 3600, seconds / 60 % 60,
                      seconds % 60);
    }
    return text;
}

}  // namespace

Progress::Progress(bool wanted)
    : wanted_(wanted && isatty(STDERR_FILENO) != 0 && !isTerminalDumb()) {}

Progress::~Progress() { end(); }

void Progress::begin(unsigned long bytes, unsigned long files) {
    if (!wanted_) {
        return;
    }
    totalBytes_ = bytes;
    totalFiles_ = files;
    started_ = std::chrono::steady_clock::now();
    ticker_ = std::jthread([this](const std::stop_token& stop) {
        std::unique_lock lock(screen_);
        auto pause = DELAY;
        // The predicate never holds: only a stop ends the wait early.
        while (!ticks_.wait_for(lock, stop, pause, [] { return false; }) &&
               !stop.stop_requested()) {
            draw();
            pause = INTERVAL;
        }
    });
}

void Progress::end() {
    if (ticker_.joinable()) {
        ticker_.request_stop();
        ticker_.join();
    }
    const std::lock_guard lock(screen_);
    erase();
}

void Progress::printAround(const std::function<void()>& print) {
    const std::lock_guard lock(screen_);
    erase();
    print();
}

void Progress::draw() {
    std::fprintf(stderr, "\r%s\x1b[K", line(terminalWidth(STDERR_FILENO) - 1).c_str());
    drawn_ = true;
}

void Progress::erase() {
    if (drawn_) {
        std::fputs("\r\x1b[K", stderr);
        drawn_ = false;
    }
}

std::string Progress::line(std::size_t width) const {
    const unsigned long bytes = bytes_;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started_;
    const double rate = static_cast<double>(bytes) / elapsed.count();
    const std::string rateText =
        bytes == 0 ? timeText(elapsed.count()) : humanSize(static_cast<unsigned long>(rate)) + "/s";
    if (totalBytes_ == 0 && totalFiles_ <= 1) {  // A pipe, whose size is unknown.
        return (humanSize(bytes) + "  " + rateText).substr(0, width);
    }
    // Empty files count as well, so that a tree of empty files shows progress.
    const double all = static_cast<double>(totalBytes_ + totalFiles_);
    const double part = std::min(1.0, static_cast<double>(bytes + files_) / all);

    std::string numbers = std::to_string(static_cast<int>(part * 100)) + "%  " + humanSize(bytes) +
                          "/" + humanSize(totalBytes_) + "  ";
    if (totalFiles_ > 1) {
        numbers += std::to_string(files_) + "/" + std::to_string(totalFiles_) + " files  ";
    }
    numbers += rateText;
    if (part > 0) {
        numbers += "  " + timeText(elapsed.count() * (1 - part) / part) + " left";
    }

    constexpr std::size_t LONGEST_BAR = 40;
    if (width < numbers.size() + 10) {
        return numbers.substr(0, width);
    }
    std::string bar(std::min(LONGEST_BAR, width - numbers.size() - 3), '-');
    const auto filled = static_cast<long>(part * static_cast<double>(bar.size()));
    std::fill_n(bar.begin(), filled, '#');
    return '[' + bar + "] " + numbers;
}

}  // namespace storage::kvxtool
