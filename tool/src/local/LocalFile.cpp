#include "local/LocalFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>

#include "ui/Failure.h"
#include "ui/Interruption.h"

namespace storage::kvxtool {

int openFile(const std::filesystem::path& path, int flags) {
    for (;;) {
        const int file = open(path.c_str(), flags | O_CLOEXEC);
        if (file >= 0 || errno != EINTR) {
            return file;
        }
        Interruption::check();
    }
}

bool belongsToStore(const std::filesystem::path& file,
                    const std::vector<std::filesystem::path>& storeFiles) {
    return !storeFiles.empty() &&
           file.filename().string().starts_with(storeFiles.front().filename().string()) &&
           std::any_of(storeFiles.begin(), storeFiles.end(), [&](const auto& storeFile) {
               std::error_code ignored;
               return std::filesystem::equivalent(file, storeFile, ignored);
           });
}

void throwFileError(const std::string& name, int error) {
    throw Failure::of(name,
                      std::make_exception_ptr(std::system_error(error, std::generic_category())));
}

void throwCreationError(const std::filesystem::path& path, int error) {
    if (error != ENOENT) {
        throwFileError(path.string(), error);
    }
    const std::filesystem::path folder = path.parent_path();
    std::error_code ignored;
    if (!std::filesystem::is_directory(folder / ".", ignored)) {
        throw Failure(ExitCode::NOT_FOUND, folder.string(), "no such folder");
    }
    throw Failure(ExitCode::FAILED, path.string(),
                  "it cannot be created: " + std::generic_category().message(error));
}

std::chrono::system_clock::time_point timeOf(const timespec& time) {
    using Time = std::chrono::system_clock::time_point;
    using std::chrono::floor;
    using std::chrono::seconds;
    if (time.tv_sec >= floor<seconds>(Time::max()).time_since_epoch().count()) {
        return Time::max();
    }
    if (time.tv_sec <= floor<seconds>(Time::min()).time_since_epoch().count()) {
        return Time::min();
    }
    return Time(seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

}  // namespace storage::kvxtool
