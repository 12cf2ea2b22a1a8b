#include "store/PlainFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>
#include <vector>

#include "Harness.h"

namespace bench {

namespace {

void check(bool good) {
    if (!good) {
        throw std::system_error(errno, std::generic_category(), "plain files");
    }
}

class File {
public:
    File(const std::string& path, int flags) : descriptor_(open(path.c_str(), flags, 0600)) {
        check(descriptor_ >= 0);
    }
    ~File() { close(descriptor_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    operator int() const { return descriptor_; }

private:
    int descriptor_;
};

std::size_t readInto(std::vector<char>& bytes, int file, std::size_t offset) {
    check(pread(file, bytes.data(), bytes.size(), static_cast<off_t>(offset)) ==
          static_cast<ssize_t>(bytes.size()));
    keep(bytes);
    return bytes.size();
}

struct Entry {
    std::string name;
    off_t size;
    timespec modified;
};

}  // namespace

PlainFiles::PlainFiles(std::string folder) : folder_(std::move(folder)) {
    check(mkdir(folder_.c_str(), 0700) == 0 && mkdir((folder_ + "/listed").c_str(), 0700) == 0);
}

void PlainFiles::put(const std::string& name, std::string_view content) {
    const std::string path = folder_ + "/" + name;
    const std::string beside = path + ".new";
    {
        const File file(beside, O_WRONLY | O_CREAT | O_EXCL);
        check(write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
        check(fsync(file) == 0);
    }
    check(rename(beside.c_str(), path.c_str()) == 0);
}

void PlainFiles::fill(std::size_t entries) {
    for (std::size_t i = 0; i < entries; ++i) {
        const File file(folder_ + "/listed/entry-" + std::to_string(i), O_WRONLY | O_CREAT);
    }
}

std::size_t PlainFiles::get(int, const std::string& name) {
    const File file(folder_ + "/" + name, O_RDONLY);
    struct stat status {};
    check(fstat(file, &status) == 0);
    std::vector<char> bytes(static_cast<std::size_t>(status.st_size));
    return readInto(bytes, file, 0);
}

std::size_t PlainFiles::readRange(int, std::size_t offset, std::size_t size) {
    static const File file(folder_ + "/" + bigFile, O_RDONLY);
    std::vector<char> bytes(size);
    return readInto(bytes, file, offset);
}

std::size_t PlainFiles::list() {
    DIR* const folder = opendir((folder_ + "/listed").c_str());
    check(folder != nullptr);
    std::vector<Entry> entries;
    while (const dirent* const entry = readdir(folder)) {
        struct stat status {};
        if (entry->d_name[0] != '.') {
            check(fstatat(dirfd(folder), entry->d_name, &status, 0) == 0);
            entries.push_back({entry->d_name, status.st_size, status.st_mtim});
        }
    }
    closedir(folder);
    keep(entries);
    return entries.size();
}

}  // namespace bench
