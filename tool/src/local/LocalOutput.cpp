#include "local/LocalOutput.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <mutex>
#include <set>
#include <utility>

#include "local/LocalFile.h"
#include "ui/Failure.h"
#include "ui/Interruption.h"

namespace storage::kvxtool {
namespace {

const std::string TEMPORARY_PREFIX = ".kvx-part-";

std::mutex temporaryFilesLock;
std::set<std::filesystem::path> temporaryFiles;

/// Locks a file as long as it is open. Returns whether it still has a name that nobody else takes
/// away; where files cannot be locked nobody does.
bool takeLock(int file) {
    struct stat status {};
    const bool locked = flock(file, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
    return locked && fstat(file, &status) == 0 && status.st_nlink > 0;
}

}  // namespace

LocalOutput::LocalOutput(const std::filesystem::path& path, Progress& progress)
    : name_(path.string()), progress_(progress) {
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        throwFileError(name_, EISDIR);
    }
    if (exists && !S_ISREG(status.st_mode)) {
        file_ = openFile(path, O_WRONLY);
        if (file_ < 0) {
            throwFileError(name_, errno);
        }
        return;
    }
    // A link is followed, so that what it points to is replaced and not the link.
    openTemporary(exists ? std::filesystem::canonical(path) : path);
    if (exists) {
        fchmod(file_, status.st_mode & 07777U);
    }
}

LocalOutput::LocalOutput(Progress& progress)
    : name_("standard output"), progress_(progress), file_(STDOUT_FILENO) {}

void LocalOutput::openTemporary(const std::filesystem::path& path) {
    static std::atomic<unsigned> counter = 0;
    static const std::string prefix = TEMPORARY_PREFIX + std::to_string(getpid()) + "-";
    path_ = path;
    const std::lock_guard lock(temporaryFilesLock);
    do {
        temporary_ = path.parent_path() / (prefix + std::to_string(counter++));
        file_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        // Another program may take it for a leftover before it is locked.
        if (file_ >= 0 && !takeLock(file_)) {
            close(file_);
            file_ = -1;
            errno = EEXIST;
        }
    } while (file_ < 0 && errno == EEXIST);
    if (file_ < 0) {
        temporary_.clear();
        throwCreationError(path, errno);
    }
    temporaryFiles.insert(temporary_);
}

LocalOutput::~LocalOutput() {
    if (file_ > STDERR_FILENO) {
        close(file_);
    }
    if (!temporary_.empty()) {
        const std::lock_guard lock(temporaryFilesLock);
        unlink(temporary_.c_str());
        temporaryFiles.erase(temporary_);
    }
}

void LocalOutput::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file_, bytes.data(), bytes.size());
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
            progress_.addBytes(static_cast<unsigned long>(count));
        } else if (errno == EINTR) {
            Interruption::check();
        } else {
            throwFileError(name_, errno);
        }
    }
}

void LocalOutput::commit(std::optional<std::chrono::system_clock::time_point> modified) {
    if (temporary_.empty()) {
        return;
    }
    if (modified) {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(*modified);
        timespec times[2] = {};
        times[0].tv_nsec = UTIME_OMIT;
        times[1].tv_sec = seconds.time_since_epoch().count();
        times[1].tv_nsec = std::chrono::nanoseconds(*modified - seconds).count();
        futimens(file_, times);  // A failure is ignored: some file systems keep no times.
    }
    // Some file systems report a full disk only here. The copy stays locked until the file has its
    // name.
    const int copy = fcntl(file_, F_DUPFD_CLOEXEC, 0);
    if (copy < 0 || close(std::exchange(file_, copy)) != 0) {
        throwFileError(name_, errno);
    }
    const std::lock_guard lock(temporaryFilesLock);
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        throwFileError(name_, errno);
    }
    close(std::exchange(file_, -1));
    temporaryFiles.erase(temporary_);
    temporary_.clear();
}

bool LocalOutput::isTemporaryName(std::string_view name) {
    if (!name.starts_with(TEMPORARY_PREFIX)) {
        return false;
    }
    name.remove_prefix(TEMPORARY_PREFIX.size());
    const std::size_t dash = std::min(name.find('-'), name.size());
    const auto isNumber = [](std::string_view text) {
        return !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    };
    return isNumber(name.substr(0, dash)) && dash < name.size() && isNumber(name.substr(dash + 1));
}

void LocalOutput::removeLeftovers(const std::filesystem::path& folder) {
    std::error_code error;
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry(folder, error); !error && entry != end;
         entry.increment(error)) {
        const std::filesystem::path& path = entry->path();
        if (!isTemporaryName(path.filename().string())) {
            continue;
        }
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
        if (file >= 0) {
            struct stat status {};
            const bool isOurs =
                fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
            // Who writes it holds a lock.
            if (isOurs && flock(file, LOCK_EX | LOCK_NB) == 0) {
                unlink(path.c_str());
            }
            close(file);
        }
    }
}

void LocalOutput::removeTemporaryFilesAndExit(int exitCode) {
    // Held to the end: no further file can be made.
    const std::lock_guard lock(temporaryFilesLock);
    for (const std::filesystem::path& file : temporaryFiles) {
        unlink(file.c_str());
    }
    _exit(exitCode);
}

}  // namespace storage::kvxtool
