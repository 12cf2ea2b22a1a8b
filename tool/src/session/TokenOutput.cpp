#include "session/TokenOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "ui/Failure.h"

namespace storage::kvxtool {

TokenOutput::TokenOutput(const std::string& path)
    : path_(path), file_(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)) {
    if (file_ < 0) {
        if (errno == EEXIST) {
            throw Failure(ExitCode::CONFLICT, path, "it exists already");
        }
        const std::system_error error(errno, std::generic_category());
        throw Failure::of(path, std::make_exception_ptr(error));
    }
}

TokenOutput::~TokenOutput() {
    close(file_);
    if (!written_) {
        unlink(path_.c_str());
    }
}

void TokenOutput::write(const std::string& token) {
    const std::string line = token + "\n";
    if (::write(file_, line.data(), line.size()) != static_cast<ssize_t>(line.size()) ||
        fsync(file_) != 0) {
        const std::system_error error(errno, std::generic_category());
        throw Failure::of(path_, std::make_exception_ptr(error));
    }
    written_ = true;
}

}  // namespace storage::kvxtool
