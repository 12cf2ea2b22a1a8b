#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace storage::kvxtool {

/// A bar on standard error for what takes longer than half a second. Only on a terminal, and gone
/// without a trace at the end. The counters may be raised from any thread.
class Progress {
public:
    explicit Progress(bool wanted);
    ~Progress();

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Begins with these totals; the bar is drawn from half a second later on.
    void begin(unsigned long bytes, unsigned long files);
    void addBytes(unsigned long bytes) { bytes_ += bytes; }
    void addFile() { ++files_; }

    /// Erases the bar for good.
    void end();

    /// Calls `print` while the bar is off the screen.
    void printAround(const std::function<void()>& print);

private:
    void draw();
    void erase();
    std::string line(std::size_t width) const;

    const bool wanted_;
    unsigned long totalBytes_ = 0;
    unsigned long totalFiles_ = 0;
    std::atomic<unsigned long> bytes_ = 0;
    std::atomic<unsigned long> files_ = 0;
    std::chrono::steady_clock::time_point started_;
    std::mutex screen_;
    std::condition_variable_any ticks_;
    bool drawn_ = false;
    std::jthread ticker_;
};

}  // namespace storage::kvxtool
