#include "LocalInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "Interruption.h"
#include "LocalFile.h"

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
            throwFileError(name_, errno);
        }
    }
    return filled;
}

}  // namespace storage::kvxtool
