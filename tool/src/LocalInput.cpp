#include "LocalInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "Interruption.h"

namespace storage::kvxtool {
namespace {

/// Opening a pipe waits for who writes to it.
int openToRead(const std::filesystem::path& path) {
    for (;;) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (file >= 0 || errno != EINTR) {
            return file;
        }
        Interruption::check();
    }
}

}  // namespace

LocalInput::LocalInput(const std::filesystem::path& path)
    : LocalInput(openToRead(path), path.string()) {}

LocalInput::LocalInput(int file, std::string name) : file_(file), name_(std::move(name)) {
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        throwError(errno);
    }
    if (S_ISREG(status.st_mode)) {
        size_ = static_cast<unsigned long>(status.st_size);
        modified_ =
            std::chrono::system_clock::time_point(std::chrono::seconds(status.st_mtim.tv_sec) +
                                                  std::chrono::nanoseconds(status.st_mtim.tv_nsec));
    }
}

LocalInput::~LocalInput() {
    if (file_ > 0) {
        close(file_);
    }
}

std::size_t LocalInput::read(char* data, std::size_t size) {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t count = ::read(file_, data + filled, size - filled);
        if (count == 0) {
            break;
        }
        if (count > 0) {
            filled += static_cast<std::size_t>(count);
        } else if (errno == EINTR) {
            Interruption::check();
        } else {
            throwError(errno);
        }
    }
    return filled;
}

void LocalInput::throwError(int error) const {
    throw Failure::of(name_,
                      std::make_exception_ptr(std::system_error(error, std::generic_category())));
}

}  // namespace storage::kvxtool
