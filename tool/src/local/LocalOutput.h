#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "ui/Progress.h"

namespace storage::kvxtool {

/// A local file that receives a download: written under a temporary name in its folder, it takes
/// its own name with commit(), and is never there in part. A device or pipe is written directly.
/// What fails is thrown as a Failure with its name.
class LocalOutput {
public:
    /// Opens the file for writing. What is written counts in `progress`.
    LocalOutput(const std::filesystem::path& path, Progress& progress);
    /// Writes to standard output.
    explicit LocalOutput(Progress& progress);
    /// Removes what was not committed.
    ~LocalOutput();

    LocalOutput(const LocalOutput&) = delete;
    LocalOutput& operator=(const LocalOutput&) = delete;

    void write(std::string_view bytes);

    /// Gives the file its name and the time of its last modification.
    void commit(std::optional<std::chrono::system_clock::time_point> modified);

    /// Whether it is the name of a file that is still being written, or was when a program was
    /// killed.
    static bool isTemporaryName(std::string_view name);

    /// Removes what killed programs left in a folder.
    static void removeLeftovers(const std::filesystem::path& folder);

    /// Ends the process at once, without its temporary files.
    [[noreturn]] static void removeTemporaryFilesAndExit(int exitCode);

private:
    void openTemporary(const std::filesystem::path& path);

    std::string name_;
    Progress& progress_;
    int file_ = -1;
    std::filesystem::path path_;
    std::filesystem::path temporary_;
};

}  // namespace storage::kvxtool
