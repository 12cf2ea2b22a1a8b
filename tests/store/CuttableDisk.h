#pragma once

#include <sqlite3.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace storage::kvxstore {

/// The disk under SQLite while the object lives. For the files in a folder it keeps apart what was
/// synced and what would be lost, or torn, if the power went now. Only one at a time.
class CuttableDisk {
public:
    struct Write {
        std::size_t offset;
        std::string bytes;
        bool truncates;
    };
    struct File {
        std::string synced;
        std::vector<Write> unsynced;
    };
    /// By file name, without the folder.
    using Files = std::map<std::string, File>;

    explicit CuttableDisk(std::string folder);
    ~CuttableDisk();
    CuttableDisk(const CuttableDisk&) = delete;
    CuttableDisk& operator=(const CuttableDisk&) = delete;

    /// Cuts the power at the given write or sync from now; the action runs at that moment, while
    /// the disk stands still. The program itself goes on, for the next cut.
    void cutAfter(unsigned events, std::function<void()> action);
    /// What was on the disk at the cut; nothing when there was none in time.
    std::optional<Files> awaitCut(std::chrono::milliseconds patience);

    void opened(sqlite3_file* file, const std::string& path);
    void closed(sqlite3_file* file);
    void removed(const std::string& path);
    void wrote(sqlite3_file* file, Write write);
    void synced(sqlite3_file* file);

private:
    bool isWatched(const std::string& path) const { return path.starts_with(folder_); }
    void countDown();

    std::string folder_;
    sqlite3_vfs shim_;
    std::mutex mutex_;
    std::condition_variable changed_;
    Files files_;
    std::map<sqlite3_file*, std::string> open_;
    unsigned eventsLeft_ = 0;
    std::function<void()> action_;
    std::optional<Files> cut_;
};

/// Writes the files as they might be found after the cut: each unsynced write kept, dropped or torn
/// at sectors.
void writeAfterCut(const CuttableDisk::Files& files, const std::string& folder,
                   std::mt19937& random);

}  // namespace storage::kvxstore
