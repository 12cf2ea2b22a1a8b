#include "sync/SyncContent.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <thread>

#include "remote/RemoteHandle.h"

namespace storage::kvxtool {
namespace {

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

bool isSame(const kvxclient::FileAccess& files, const ContentPair& pair) {
    errno = 0;
    std::ifstream local(pair.local, std::ios::binary);
    if (!local) {
        throw std::system_error(errno != 0 ? errno : EIO, std::generic_category());
    }
    if (pair.size <= RemoteHandle::RANGE_SIZE) {  // As in put and get: one call, no handle.
        const std::vector<char> whole = files.readFile({pair.remote.resource()}).getResponseBody();
        return readPart(local, whole.size() + 1) == whole;
    }
    const RemoteHandle remote(files, pair.remote, "");
    for (unsigned long start = 0;;) {
        const std::vector<char> part =
            remote.read(start, RemoteHandle::RANGE_SIZE).get().getResponseBody();
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
