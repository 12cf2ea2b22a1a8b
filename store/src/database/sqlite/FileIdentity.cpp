#include "database/sqlite/FileIdentity.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>
#include <utility>

namespace storage::kvxstore::database {

namespace {

using namespace std::string_view_literals;

[[noreturn]] void refuseFile(const std::string& what, const std::string& path) {
    throw DatabaseError(StoreErrorCode::FILE_CHANGED, what + ": " + path);
}

/// Each number leads to another one, and only after 2^32 steps to itself.
std::uint32_t nextStamp(std::uint32_t stamp) { return stamp * 0x9E3779B1U + 0x7F4A7C15U; }

/// Whether a log with one stamp may lie on a file with the other. Between reading the two, others
/// may have brought later changes into the file.
bool belongTogether(std::uint32_t file, std::uint32_t log) {
    if (nextStamp(file) == log) {
        return true;
    }
    for (int later = 0; later < 8; ++later, log = nextStamp(log)) {
        if (file == log) {
            return true;
        }
    }
    return false;
}

std::uint32_t numberAt(const unsigned char* bytes) {
    return std::uint32_t{bytes[0]} << 24U | std::uint32_t{bytes[1]} << 16U |
           std::uint32_t{bytes[2]} << 8U | bytes[3];
}

}  // namespace

FileIdentity::FileIdentity(sqlite3* database, std::string path)
    : database_(database), path_(std::move(path)) {
    struct stat status {};
    int moved = 0;
    if (::stat(path_.c_str(), &status) != 0 ||
        sqlite3_file_control(database_, "main", SQLITE_FCNTL_HAS_MOVED, &moved) != SQLITE_OK ||
        moved != 0) {
        refuseFile("the store's file was moved while it was opened", path_);
    }
    device_ = status.st_dev;
    inode_ = status.st_ino;
}

FileIdentity::Change FileIdentity::changeOf(const struct stat& status) {
    return {status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_size};
}

struct stat FileIdentity::requireSameFile() const {
    struct stat status {};
    if (::stat(path_.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            refuseFile("the store's file was deleted or moved away", path_);
        }
        refuseFile("the store's file is out of reach (" + std::string(std::strerror(errno)) + ')',
                   path_);
    }
    if (status.st_dev != device_ || status.st_ino != inode_) {
        refuseFile("another file was put in the place of the store's", path_);
    }
    if (status.st_nlink > 1) {
        refuseFile(
            "the store's file has a second name (a hard link), where it would get other logs",
            path_);
    }
    return status;
}

std::optional<FileIdentity::Header> FileIdentity::readHeader() const {
    // Through SQLite's own file: closing another descriptor would drop its locks.
    sqlite3_file* file = nullptr;
    std::array<unsigned char, 100> head{};
    constexpr auto magic = "SQLite format 3\0"sv;
    if (sqlite3_file_control(database_, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
        file->pMethods->xRead(file, head.data(), static_cast<int>(head.size()), 0) != SQLITE_OK ||
        !std::equal(magic.begin(), magic.end(), head.begin())) {
        return std::nullopt;
    }
    const std::uint32_t pageSize = numberAt(head.data() + 14) & 0xFFFFU;
    return Header{numberAt(head.data() + 28), pageSize == 1 ? 65536 : pageSize,
                  numberAt(head.data() + 60), head[18] == 2};
}

std::optional<std::uint32_t> FileIdentity::currentStamp() const {
    sqlite3_stmt* statement = nullptr;
    std::optional<std::uint32_t> stamp;
    if (sqlite3_prepare_v2(database_, "pragma user_version", -1, &statement, nullptr) ==
            SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW) {
        stamp = static_cast<std::uint32_t>(sqlite3_column_int(statement, 0));
    }
    sqlite3_finalize(statement);
    return stamp;
}

std::optional<std::string> FileIdentity::findFault(const Change& change) const {
    if (change.size == 0 && seen_.size == 0) {
        return "";  // Another program is making the store.
    }
    const std::optional<Header> header = readHeader();
    if (change.size < seen_.size &&
        (!header || change.size < std::int64_t{header->pages} * header->pageSize)) {
        // A checkpoint writes the number of pages well before the last of them.
        const std::optional<LogState> log =
            header && header->hasLog ? readLogState() : std::nullopt;
        if (log && log->framesInFile != log->framesUnderWay) {
            return std::nullopt;
        }
        return "the store's file was cut";
    }
    if (!header) {
        return "the store's file was overwritten";
    }
    const std::optional<std::uint32_t> stamp = currentStamp();
    if (!stamp) {
        return std::nullopt;
    }
    return belongTogether(header->stamp, *stamp)
               ? ""
               : "the store's file and its log (-wal) are of different times or stores";
}

void FileIdentity::check() {
    constexpr int mostTries = 20;
    Change change = changeOf(requireSameFile());
    // A checkpoint by another program may be under way.
    for (int tries = 1; fault_.empty() && change != seen_; ++tries) {
        std::optional<std::string> fault = findFault(change);
        if (!fault) {
            return;
        }
        if (fault->empty()) {
            seen_ = change;
            mayBeNewLog_ = true;
            return;
        }
        if (tries == mostTries) {
            fault_ = std::move(*fault);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        change = changeOf(requireSameFile());
    }
    if (!fault_.empty()) {
        refuseFile(fault_, path_);
    }
}

void FileIdentity::checkSometimes() {
    const auto now = std::chrono::steady_clock::now();
    if (now >= nextLook_) {
        check();
        nextLook_ = now + std::chrono::milliseconds(1);
    }
}

std::optional<FileIdentity::LogState> FileIdentity::readLogState() const {
    // Where the index of the log has the numbers; its first part has this size.
    constexpr std::size_t frames = 16;
    constexpr std::size_t framesInFile = 96;
    constexpr std::size_t framesUnderWay = 128;
    constexpr int indexSize = 32768;
    sqlite3_file* file = nullptr;
    void volatile* index = nullptr;
    if (sqlite3_file_control(database_, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
        file->pMethods->iVersion < 2 ||
        file->pMethods->xShmMap(file, 0, indexSize, 0, &index) != SQLITE_OK || index == nullptr) {
        return std::nullopt;
    }
    const auto at = [index](std::size_t offset) {
        return *reinterpret_cast<const volatile std::uint32_t*>(
            static_cast<const volatile char*>(index) + offset);
    };
    return LogState{at(frames), at(framesInFile), at(framesUnderWay)};
}

void FileIdentity::stampLog() {
    // Before all of the log is on disk in the file, a cut of the power could take the file back by
    // more than one stamp.
    const std::optional<Header> header = mayBeNewLog_ ? readHeader() : std::nullopt;
    const std::optional<LogState> log = header && header->hasLog ? readLogState() : std::nullopt;
    if (!log || log->framesInFile != log->frames) {
        return;
    }
    if (header->stamp == currentStamp()) {
        const auto next = static_cast<std::int32_t>(nextStamp(header->stamp));
        sqlite3_exec(database_, ("pragma user_version = " + std::to_string(next)).c_str(), nullptr,
                     nullptr, nullptr);
    }
    mayBeNewLog_ = false;
}

bool FileIdentity::isIntact() noexcept {
    try {
        check();
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace storage::kvxstore::database
