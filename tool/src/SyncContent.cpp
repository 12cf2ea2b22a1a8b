#include "SyncContent.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <thread>

namespace storage::kvxtool {
namespace {

constexpr unsigned long PART_SIZE = 1UL << 20U;

/// A remote file that is open for reading.
class RemoteInput {
public:
    RemoteInput(const kvxclient::FileAccess& files, const RemoteName& name)
        : files_(files), resource_(name.resource()) {
        handle_ = files_.createReadOnlyFileHandle({resource_}).getFileHandleId();
    }
    ~RemoteInput() {
        try {
            kvxclient::FileHandleCloseRequest request(resource_);
            files_.closeFileHandle(std::move(request.withFileHandleId(handle_)));
        } catch (...) {
            // What was read is read, and the handle ends with the session.
        }
    }

    RemoteInput(const RemoteInput&) = delete;
    RemoteInput& operator=(const RemoteInput&) = delete;

    /// Empty at the end.
    std::vector<char> readPart(unsigned long start) const {
        kvxclient::FileContentReadRequest request(resource_);
        request.withFileHandleId(handle_).withStartLocation(start).withLength(PART_SIZE);
        return files_.readFileContent(std::move(request)).getResponseBody();
    }

private:
    const kvxclient::FileAccess& files_;
    kvxclient::Resource resource_;
    std::string handle_;
};

/// Reads `size` bytes, or fewer at the end.
std::vector<char> readPart(std::ifstream& file, std::size_t size) {
    std::vector<char> part(size);
    errno = 0;
    file.read(part.data(), static_cast<std::streamsize>(size));
    if (file.bad()) {
        throw std::system_error(errno != 0 ? errno : EIO, std::generic_category());
    }
    part.resize(static_cast<std::size_t>(file.gcount()));
    return part;
}

/// Opening a remote file costs as much as reading a small one.
bool isSame(const kvxclient::FileAccess& files, const ContentPair& pair) {
    errno = 0;
    std::ifstream local(pair.local, std::ios::binary);
    if (!local) {
        throw std::system_error(errno != 0 ? errno : EIO, std::generic_category());
    }
    if (pair.size <= PART_SIZE) {
        const std::vector<char> whole = files.readFile({pair.remote.resource()}).getResponseBody();
        return readPart(local, whole.size() + 1) == whole;
    }
    const RemoteInput remote(files, pair.remote);
    for (unsigned long start = 0;;) {
        const std::vector<char> part = remote.readPart(start);
        if (readPart(local, std::max<std::size_t>(part.size(), 1)) != part) {
            return false;
        }
        if (part.empty()) {
            return true;
        }
        start += part.size();
    }
}

}  // namespace

void compareContents(const kvxclient::FileAccess& files, std::vector<ContentPair>& pairs,
                     std::size_t jobs) {
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t i = next++; i < pairs.size(); i = next++) {
            try {
                pairs[i].same = isSame(files, pairs[i]);
            } catch (...) {
                pairs[i].error = std::current_exception();
            }
        }
    };
    std::vector<std::jthread> workers;
    for (std::size_t i = 0; i < std::min(jobs, pairs.size()); ++i) {
        workers.emplace_back(work);
    }
}

}  // namespace storage::kvxtool
