#include "LocalOutput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <set>
#include <streambuf>
#include <system_error>
#include <utility>

namespace storage::kvxtool {
namespace {

std::mutex temporaryFilesLock;
std::set<std::filesystem::path> temporaryFiles;

[[noreturn]] void throwSystemError(int error) {
    throw std::system_error(error, std::generic_category());
}

/// Writes through, unbuffered: a failed write shows at once, and none is left to the destructor.
class OutputBuffer : public std::streambuf {
public:
    explicit OutputBuffer(std::shared_ptr<LocalOutput> output) : output_(std::move(output)) {}

private:
    std::streamsize xsputn(const char* data, std::streamsize size) override {
        return output_->write(data, static_cast<std::size_t>(size)) ? size : 0;
    }
    int_type overflow(int_type value) override {
        const char byte = traits_type::to_char_type(value);
        return output_->write(&byte, 1) ? value : traits_type::eof();
    }

    std::shared_ptr<LocalOutput> output_;
};

class OutputStream : public std::iostream {
public:
    explicit OutputStream(std::shared_ptr<LocalOutput> output)
        : std::iostream(nullptr), buffer_(std::move(output)) {
        rdbuf(&buffer_);
    }

private:
    OutputBuffer buffer_;
};

}  // namespace

std::shared_ptr<LocalOutput> LocalOutput::create(const std::filesystem::path& path,
                                                 Progress& progress) {
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) {
        throwSystemError(EISDIR);
    }
    std::shared_ptr<LocalOutput> output(new LocalOutput(-1, progress));
    if (exists && !S_ISREG(status.st_mode)) {
        output->file_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (output->file_ < 0) {
            throwSystemError(errno);
        }
        return output;
    }
    // A link is followed, so that what it points to is replaced and not the link.
    output->openTemporary(exists ? std::filesystem::canonical(path) : path);
    if (exists) {
        fchmod(output->file_, status.st_mode & 07777U);
    }
    return output;
}

std::shared_ptr<LocalOutput> LocalOutput::standardOutput(Progress& progress) {
    return std::shared_ptr<LocalOutput>(new LocalOutput(STDOUT_FILENO, progress));
}

void LocalOutput::openTemporary(const std::filesystem::path& path) {
    static std::atomic<unsigned> counter = 0;
    path_ = path;
    const std::lock_guard lock(temporaryFilesLock);
    do {
        const std::string name =
            ".kvx-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
        temporary_ = path.parent_path() / name;
        file_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (file_ < 0 && errno == EEXIST);
    if (file_ < 0) {
        temporary_.clear();
        throwSystemError(errno);
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

std::unique_ptr<std::iostream> LocalOutput::makeStream() {
    return std::make_unique<OutputStream>(shared_from_this());
}

bool LocalOutput::write(const char* data, std::size_t size) {
    while (size > 0 && error_ == 0) {
        const ssize_t count = ::write(file_, data, size);
        if (count >= 0) {
            data += count;
            size -= static_cast<std::size_t>(count);
            progress_.addBytes(static_cast<unsigned long>(count));
        } else if (errno != EINTR) {
            error_ = errno;
        }
    }
    return error_ == 0;
}

void LocalOutput::throwIfFailed() const {
    if (error_ != 0) {
        throwSystemError(error_);
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
        futimens(file_, times);  // A file system without it has the file all the same.
    }
    // Some file systems tell of a full disk only here.
    const int file = std::exchange(file_, -1);
    if (close(file) != 0) {
        throwSystemError(errno);
    }
    const std::lock_guard lock(temporaryFilesLock);
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        throwSystemError(errno);
    }
    temporaryFiles.erase(temporary_);
    temporary_.clear();
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
