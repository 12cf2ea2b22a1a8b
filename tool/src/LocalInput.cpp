#include "LocalInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <system_error>

namespace storage::kvxtool {

LocalInput::LocalInput(const std::filesystem::path& path)
    : LocalInput(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

LocalInput::LocalInput(int file) : file_(file) {
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        throw std::system_error(errno, std::generic_category());
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

void LocalInput::readInto(kvxclient::FileCreateRequest& request) {
    constexpr unsigned long BUFFER_SIZE = 4UL << 20U;
    unsigned long chunk = size_ == 0 ? BUFFER_SIZE : size_;
    // The content grows by doubling, and copies what it has. From a chunk that is the size over a
    // power of two it ends exactly at the size, and never takes more than that while it grows.
    while (chunk > BUFFER_SIZE) {
        chunk = (chunk + 1) / 2;
    }
    const auto buffer = std::make_unique_for_overwrite<char[]>(chunk);
    for (;;) {
        unsigned long filled = 0;
        while (filled < chunk) {
            const ssize_t count = read(file_, buffer.get() + filled, chunk - filled);
            if (count < 0 && errno != EINTR) {
                throw std::system_error(errno, std::generic_category());
            }
            if (count == 0) {
                request.appendContent(buffer.get(), filled);
                return;
            }
            filled += count > 0 ? static_cast<unsigned long>(count) : 0;
        }
        request.appendContent(buffer.get(), filled);
    }
}

}  // namespace storage::kvxtool
