#include "database/sqlite/NewFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "database/sqlite/SqliteConnection.h"

namespace storage::kvxstore::database {

namespace {

/// The file, and what SQLite may have beside it.
constexpr const char* suffixes[] = {"", "-wal", "-shm", "-journal"};

StoreError fileFailure(const std::string& action, const std::string& path, int number) {
    const StoreErrorCode code =
        number == EEXIST ? StoreErrorCode::ALREADY_EXISTS : codeOfSystemError(number);
    return {code, action + ' ' + path + ": " + std::strerror(number)};
}

void sync(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool synced = file >= 0 && ::fsync(file) == 0;
    const int number = errno;
    if (file >= 0) {
        ::close(file);
    }
    if (!synced) {
        throw fileFailure("cannot sync", path, number);
    }
}

/// Not every file system can rename without replacing, and not every one has hard links.
bool renameToUnused(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    return (errno == EINVAL || errno == ENOSYS) && ::link(from.c_str(), to.c_str()) == 0 &&
           ::unlink(from.c_str()) == 0;
}

}  // namespace

NewFile::NewFile(const std::string& target) {
    std::error_code error;
    target_ = std::filesystem::absolute(target, error);
    if (target.empty() || error) {
        throw fileFailure("cannot create", target, target.empty() ? ENOENT : error.value());
    }
    requireUnused();
    std::string name = target_ + ".XXXXXX";
    const int file = ::mkostemp(name.data(), O_CLOEXEC);
    if (file < 0) {
        throw fileFailure("cannot create", target_, errno);
    }
    ::close(file);
    temporary_ = name;
}

NewFile::~NewFile() {
    if (temporary_.empty()) {
        return;
    }
    for (const char* suffix : suffixes) {
        ::unlink((temporary_ + suffix).c_str());
    }
}

void NewFile::requireUnused() const {
    for (const char* suffix : suffixes) {
        std::error_code ignored;
        const std::string path = target_ + suffix;
        if (std::filesystem::exists(std::filesystem::symlink_status(path, ignored))) {
            throw StoreError(StoreErrorCode::ALREADY_EXISTS, "there is a file already: " + path);
        }
    }
}

void NewFile::publish() {
    if (::access((temporary_ + "-wal").c_str(), F_OK) == 0) {
        throw StoreError(StoreErrorCode::FULL, "cannot complete " + temporary_);
    }
    sync(temporary_);
    requireUnused();
    if (!renameToUnused(temporary_, target_)) {
        throw fileFailure("cannot create", target_, errno);
    }
    temporary_.clear();
    sync(std::filesystem::path(target_).parent_path());
}

}  // namespace storage::kvxstore::database
