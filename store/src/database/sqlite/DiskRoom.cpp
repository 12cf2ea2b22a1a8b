#include "database/sqlite/DiskRoom.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "database/sqlite/SqliteConnection.h"

namespace storage::kvxstore::database {

namespace {

/// Room in the log that only what deletes may use.
constexpr std::size_t logSpare = 4UL << 20U;
/// The same in the file, for the pages that deleting splits.
constexpr std::int64_t fileSpare = 256L << 10U;
/// The file grows and shrinks in such steps. Nothing may leave it at another size, which SQLite
/// would round up without writing anything there.
constexpr int fileStep = 256 << 10;
/// Many small calls ask the log once for all.
constexpr std::size_t grantStep = 1UL << 20U;

sqlite3_file& fileOf(sqlite3* handle) {
    sqlite3_file* file = nullptr;
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    return *file;
}

[[noreturn]] void throwFull() { throw DatabaseError(StoreErrorCode::FULL, "the disk is full"); }

}  // namespace

DiskRoom::DiskRoom(Connection& connection, sqlite3* handle)
    : connection_(connection),
      handle_(handle),
      log_(sqlite3_filename_wal(sqlite3_db_filename(handle, "main"))),
      pageSize_(connection.number("pragma page_size")) {
    int step = fileStep;
    sqlite3_file_control(handle, "main", SQLITE_FCNTL_CHUNK_SIZE, &step);
}

void DiskRoom::begin() {
    pagesBefore_ = pages();
    granted_ = 0;
    adds_ = false;
}

void DiskRoom::need(std::size_t bytes) {
    if (!adds_ || bytes > granted_) {
        granted_ = std::max(bytes, grantStep);
        if (!reserveLog(logSpare + granted_)) {
            reserveLog(logSpare);
            throwFull();
        }
    }
    adds_ = true;
    granted_ -= bytes;
}

void DiskRoom::keepSpare() {
    reserveLog(logSpare);
    adds_ = true;
    try {
        beforeCommit();
    } catch (const DatabaseError&) {
        // The next transaction that adds something is told.
    }
}

void DiskRoom::beforeCommit() {
    const std::int64_t pagesAfter = pages();
    if (!adds_ && pagesAfter <= pagesBefore_) {
        return;
    }
    leastSize_ = pagesAfter * pageSize_ + (adds_ ? fileSpare : 0);
    const std::int64_t size = fileSize();
    // Another program may be writing the pages that were there before from the log into the file.
    // Behind them nobody knows at first whether there is room or only size.
    const std::int64_t pagesEnd = pagesBefore_ * pageSize_;
    const std::int64_t from = hasGrown_ ? std::max(size, pagesEnd) : pagesEnd;
    const std::int64_t to = (leastSize_ + fileStep - 1) / fileStep * fileStep;
    if (hasGrown_ && size >= leastSize_) {
        return;
    }
    if (!growFile(from, to)) {
        sqlite3_file& file = fileOf(handle_);
        file.pMethods->xTruncate(&file, from);
        throwFull();
    }
    hasGrown_ = true;
}

bool DiskRoom::shortenLog(std::size_t bytes) {
    struct stat status {};
    const bool isLong =
        ::stat(log_.c_str(), &status) == 0 && static_cast<std::size_t>(status.st_size) > bytes;
    // Writing over a log costs less than making it longer, so that a short one stays.
    if ((!isLong && !shrinks_) ||
        sqlite3_wal_checkpoint_v2(handle_, "main",
                                  isLong ? SQLITE_CHECKPOINT_TRUNCATE : SQLITE_CHECKPOINT_FULL,
                                  nullptr, nullptr) != SQLITE_OK) {
        return false;
    }
    shrinks_ = false;
    return true;
}

std::int64_t DiskRoom::pages() const { return connection_.number("pragma page_count"); }

std::int64_t DiskRoom::fileSize() const {
    sqlite3_file& file = fileOf(handle_);
    sqlite3_int64 size = 0;
    file.pMethods->xFileSize(&file, &size);
    return size;
}

/// Allocates so many bytes beyond the log's end, which cutting the log takes back. Nothing locks
/// the log, so that a descriptor of our own does no harm.
bool DiskRoom::reserveLog(std::size_t bytes) const {
    constexpr std::int64_t block = 512;
    struct stat status {};
    if (::stat(log_.c_str(), &status) != 0) {
        return true;
    }
    const auto wanted = static_cast<std::int64_t>(bytes);
    if (status.st_blocks * block >= status.st_size + wanted) {
        return true;
    }
    const int log = ::open(log_.c_str(), O_WRONLY | O_CLOEXEC);
    if (log < 0) {
        return true;
    }
    const bool failed = ::fallocate(log, FALLOC_FL_KEEP_SIZE, status.st_size, wanted) != 0;
    const int number = errno;
    ::close(log);
    // Some file systems cannot allocate ahead.
    return !failed || codeOfSystemError(number) != StoreErrorCode::FULL;
}

/// Writes zeros. SQLite's own way to grow a file would look for its end first, while another
/// program may be growing it.
bool DiskRoom::growFile(std::int64_t from, std::int64_t to) const {
    // SQLite's files take no more than 127 KiB at once.
    static const std::string zeros(64UL << 10U, '\0');
    sqlite3_file& file = fileOf(handle_);
    while (from < to) {
        const std::int64_t size = std::min(to - from, std::ssize(zeros));
        if (file.pMethods->xWrite(&file, zeros.data(), static_cast<int>(size), from) != SQLITE_OK) {
            return false;
        }
        from += size;
    }
    return true;
}

}  // namespace storage::kvxstore::database
