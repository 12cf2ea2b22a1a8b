#pragma once

#include <chrono>
#include <filesystem>

namespace storage::kvxtool {

/// Sees changes in a local folder and the folders below it that were there when it was made. What
/// came before it was made is seen by whoever reads the folders after that.
class LocalWatch {
public:
    explicit LocalWatch(const std::filesystem::path& top);
    ~LocalWatch();

    LocalWatch(const LocalWatch&) = delete;
    LocalWatch& operator=(const LocalWatch&) = delete;

    /// Whether all folders could be watched: the system has a limit.
    bool isComplete() const { return complete_; }

    /// Waits until something has changed and the changes have settled. When not all folders could
    /// be watched, no longer than `interval`.
    void wait(std::chrono::milliseconds interval);

private:
    void add(const std::filesystem::path& folder);
    bool hasEvent(std::chrono::milliseconds timeout) const;
    void takeEvents() const;

    int queue_;
    bool complete_;
};

}  // namespace storage::kvxtool
