#include "TokenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <system_error>

#include "StoreLocation.h"

namespace storage::kvxtool {
namespace {

/// FNV-1a: a URL may be too long for a file name.
std::string fileNameFor(const std::string& url) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : url) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    }
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "token-%016llx", static_cast<unsigned long long>(hash));
    return name.data();
}

[[noreturn]] void throwSystemError() { throw std::system_error(errno, std::generic_category()); }

}  // namespace

TokenFile::TokenFile(const std::string& storeUrl)
    : storeUrl_(storeUrl),
      path_(userFolder("XDG_STATE_HOME", ".local/state") / "kvx" / fileNameFor(storeUrl)) {}

std::optional<std::string> TokenFile::read() const {
    std::ifstream file(path_);
    std::string url;
    std::string token;
    if (std::getline(file, token) && std::getline(file, url, '\0') && url == storeUrl_) {
        return token;
    }
    return std::nullopt;
}

void TokenFile::prepare() const {
    std::filesystem::create_directories(path_.parent_path().parent_path());
    if (mkdir(path_.parent_path().c_str(), 0700) != 0 && errno != EEXIST) {
        throwSystemError();
    }
}

void TokenFile::write(const std::string& token) const {
    std::string temporary = path_.string() + ".XXXXXX";
    const int file = mkostemp(temporary.data(), O_CLOEXEC);  // Mode 0600.
    if (file < 0) {
        throwSystemError();
    }
    const std::string text = token + "\n" + storeUrl_;
    const bool written =
        ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const bool closed = close(file) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path_.c_str()) != 0) {
        const int error = errno;
        unlink(temporary.c_str());
        throw std::system_error(error, std::generic_category());
    }
}

}  // namespace storage::kvxtool
