#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <istream>
#include <memory>
#include <optional>

#include "Progress.h"

namespace storage::kvxtool {

/// A local file that receives a download: written under a temporary name in its folder, it takes
/// its own name with commit(), and never exists by halves. A device or pipe is written directly.
class LocalOutput : public std::enable_shared_from_this<LocalOutput> {
public:
    /// Opens the file for writing. What is written counts in `progress`. Throws when it cannot.
    static std::shared_ptr<LocalOutput> create(const std::filesystem::path& path,
                                               Progress& progress);
    static std::shared_ptr<LocalOutput> standardOutput(Progress& progress);
    /// Removes what was not committed.
    ~LocalOutput();

    LocalOutput(const LocalOutput&) = delete;
    LocalOutput& operator=(const LocalOutput&) = delete;

    /// Makes a stream that writes here, and shares in keeping this alive.
    std::unique_ptr<std::iostream> makeStream();

    /// Writes `size` bytes, on any thread. Returns false, and does so from then on, when it fails.
    bool write(const char* data, std::size_t size);
    /// Throws the error that made write() fail.
    void throwIfFailed() const;

    /// Gives the file its name and the time of its last modification. Throws when it cannot.
    void commit(std::optional<std::chrono::system_clock::time_point> modified);

    /// Ends the process at once, without its temporary files.
    [[noreturn]] static void removeTemporaryFilesAndExit(int exitCode);

private:
    LocalOutput(int file, Progress& progress) : file_(file), progress_(progress) {}
    void openTemporary(const std::filesystem::path& path);

    int file_;
    Progress& progress_;
    std::atomic<int> error_ = 0;
    std::filesystem::path path_;
    std::filesystem::path temporary_;
};

}  // namespace storage::kvxtool
