#include "local/LocalInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "local/LocalFile.h"
#include "ui/Interruption.h"

namespace storage::kvxtool {

LocalInput::LocalInput(const std::filesystem::path& path)
    : LocalInput(openFile(path, O_RDONLY), path.string()) {}

LocalInput::LocalInput(int file, std::string name) : file_(file), name_(std::move(name)) {
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        throwFileError(name_, errno);
    }
    if (S_ISREG(status.st_mode)) {
        size_ = static_cast<unsigned long>(status.st_size);
        modified_ = timeOf(status.st_mtim);
        changed_ = timeOf(status.st_ctim);
    }
}

LocalInput::~LocalInput() {
    if (file_ > 0) {
        close(file_);
    }
}

bool LocalInput::hasChanged() const {
    struct stat status {};
    // A program may give a file that it wrote the time from before, but not that of the change. The
    // times of a file without a size are those of the look at it, where it is one of the kernel's.
    return fstat(file_, &status) == 0 && (size_ != static_cast<unsigned long>(status.st_size) ||
                                          (size_ > 0 && (modified_ != timeOf(status.st_mtim) ||
                                                         changed_ != timeOf(status.st_ctim))));
}

std::size_t LocalInput::read(char* data, std::size_t size) {
    // A file without a size, as a pipe or a file of /proc, is read to its end.
    const std::size_t wanted = size_ > 0 ? std::min(size, size_ - position_) : size;
    std::size_t filled = 0;
    while (filled < wanted) {
        const ssize_t count = ::read(file_, data + filled, wanted - filled);
        if (count == 0) {
            break;
        }
        if (count > 0) {
            filled += static_cast<std::size_t>(count);
        } else if (errno == EINTR) {
            Interruption::check();
        } else {
            throwFileError(name_, errno);
        }
    }
    position_ += filled;
    return filled;
}

}  // namespace storage::kvxtool
