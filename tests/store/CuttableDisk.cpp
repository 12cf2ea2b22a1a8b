#include "CuttableDisk.h"

#include <algorithm>
#include <fstream>
#include <utility>

namespace storage::kvxstore {

namespace {

sqlite3_vfs* real = nullptr;
CuttableDisk* disk = nullptr;

/// A table of the real disk's functions, with some of ours in their place.
struct Methods {
    const sqlite3_io_methods* original = nullptr;
    sqlite3_io_methods replaced;
};
// SQLite has one table for databases and one for logs and journals.
Methods tables[2];

const sqlite3_io_methods& originalOf(const sqlite3_file* file) {
    return *tables[file->pMethods == &tables[0].replaced ? 0 : 1].original;
}

int writeFile(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    disk->wrote(file, {static_cast<std::size_t>(offset),
                       {static_cast<const char*>(bytes), static_cast<std::size_t>(size)},
                       false});
    return originalOf(file).xWrite(file, bytes, size, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    disk->wrote(file, {static_cast<std::size_t>(size), {}, true});
    return originalOf(file).xTruncate(file, size);
}

/// Syncs nothing: only the cut that is played needs to know.
int syncFile(sqlite3_file* file, int) {
    disk->synced(file);
    return SQLITE_OK;
}

int closeFile(sqlite3_file* file) {
    disk->closed(file);
    return originalOf(file).xClose(file);
}

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    const int code = real->xOpen(real, name, file, flags, outFlags);
    if (code == SQLITE_OK && name != nullptr) {
        disk->opened(file, name);
    }
    return code;
}

int removeFile(sqlite3_vfs*, const char* name, int syncFolder) {
    disk->removed(name);
    return real->xDelete(real, name, syncFolder);
}

void apply(std::string& bytes, const CuttableDisk::Write& write) {
    if (write.truncates) {
        bytes.resize(write.offset);
        return;
    }
    bytes.resize(std::max(bytes.size(), write.offset + write.bytes.size()));
    bytes.replace(write.offset, write.bytes.size(), write.bytes);
}

/// Keeps some of the write's sectors.
void applyTorn(std::string& bytes, const CuttableDisk::Write& write, std::mt19937& random) {
    const std::size_t sector = random() % 2 == 0 ? 512 : 4096;
    std::size_t end = 0;
    for (std::size_t start = 0; start < write.bytes.size(); start = end) {
        end = std::min(write.bytes.size(), start + sector - (write.offset + start) % sector);
        if (random() % 2 == 0) {
            apply(bytes, {write.offset + start, write.bytes.substr(start, end - start), false});
        }
    }
}

}  // namespace

CuttableDisk::CuttableDisk(std::string folder) : folder_(std::move(folder)) {
    real = sqlite3_vfs_find(nullptr);
    disk = this;
    shim_ = *real;
    shim_.zName = "cuttable";
    shim_.xOpen = openFile;
    shim_.xDelete = removeFile;
    sqlite3_vfs_register(&shim_, 1);
}

CuttableDisk::~CuttableDisk() {
    sqlite3_vfs_unregister(&shim_);
    sqlite3_vfs_register(real, 1);
}

void CuttableDisk::cutAfter(unsigned events, std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    cut_.reset();
    eventsLeft_ = events;
    action_ = std::move(action);
}

std::optional<CuttableDisk::Files> CuttableDisk::awaitCut(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, patience, [this] { return cut_.has_value(); });
    eventsLeft_ = 0;
    return std::exchange(cut_, std::nullopt);
}

void CuttableDisk::opened(sqlite3_file* file, const std::string& path) {
    const std::lock_guard lock(mutex_);
    if (!isWatched(path)) {
        return;
    }
    open_[file] = path.substr(folder_.size());
    files_[open_[file]];
    Methods& table =
        tables[tables[0].original == nullptr || tables[0].original == file->pMethods ? 0 : 1];
    if (table.original == nullptr) {
        table = {file->pMethods, *file->pMethods};
        table.replaced.xWrite = writeFile;
        table.replaced.xTruncate = truncateFile;
        table.replaced.xSync = syncFile;
        table.replaced.xClose = closeFile;
    }
    file->pMethods = &table.replaced;
}

void CuttableDisk::closed(sqlite3_file* file) {
    const std::lock_guard lock(mutex_);
    open_.erase(file);
}

void CuttableDisk::removed(const std::string& path) {
    const std::lock_guard lock(mutex_);
    if (isWatched(path)) {
        countDown();
        files_.erase(path.substr(folder_.size()));
    }
}

void CuttableDisk::wrote(sqlite3_file* file, Write write) {
    const std::lock_guard lock(mutex_);
    files_[open_.at(file)].unsynced.push_back(std::move(write));
    countDown();
}

void CuttableDisk::synced(sqlite3_file* file) {
    const std::lock_guard lock(mutex_);
    countDown();
    File& synced = files_[open_.at(file)];
    for (const Write& write : synced.unsynced) {
        apply(synced.synced, write);
    }
    synced.unsynced.clear();
}

void CuttableDisk::countDown() {
    if (eventsLeft_ > 0 && --eventsLeft_ == 0) {
        cut_ = files_;
        action_();
        changed_.notify_all();
    }
}

void writeAfterCut(const CuttableDisk::Files& files, const std::string& folder,
                   std::mt19937& random) {
    // Some disks lose everything, some nothing, most a part.
    const unsigned temper = random() % 8;
    for (const auto& [name, file] : files) {
        std::string bytes = file.synced;
        for (const CuttableDisk::Write& write : file.unsynced) {
            const unsigned fate = temper < 2 ? temper : random() % 3;
            if (fate == 1) {
                apply(bytes, write);
            } else if (fate == 2 && !write.truncates) {
                applyTorn(bytes, write, random);
            }
        }
        std::ofstream(folder + name, std::ios::binary) << bytes;
    }
}

}  // namespace storage::kvxstore
