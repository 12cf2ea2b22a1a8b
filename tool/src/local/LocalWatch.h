#pragma once

#include <chrono>
#include <filesystem>

namespace storage::kvxtool {

/// Sees changes in a local folder and the folders below it that were there when it was made. Read
/// the folders after it is made: earlier changes are not reported.
class LocalWatch {
public:
    explicit LocalWatch(const std::filesystem::path& top);
    ~LocalWatch();

    LocalWatch(const LocalWatch&) = delete;
    LocalWatch& operator=(const LocalWatch&) = delete;

    /// Whether all folders could be watched: the system has a limit.
    bool isComplete() const { return complete_; }

    static constexpr std::chrono::milliseconds FOREVER{-1};

    /// Waits until something has changed and the changes have settled, but no longer than `atMost`.
    void wait(std::chrono::milliseconds atMost) const;

private:
    void add(const std::filesystem::path& folder);
    bool hasEvent(std::chrono::milliseconds timeout) const;
    void takeEvents() const;

    int queue_;
    bool complete_;
};

}  // namespace storage::kvxtool
