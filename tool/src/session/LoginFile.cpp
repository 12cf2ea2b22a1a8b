#include "session/LoginFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <system_error>

#include "session/StoreLocation.h"

namespace storage::kvxtool {
namespace {

using std::chrono::system_clock;

/// FNV-1a: a URL may be too long for a file name.
std::string fileNameFor(const std::string& url) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : url) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    }
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "login-%016llx", static_cast<unsigned long long>(hash));
    return name.data();
}

[[noreturn]] void throwSystemError() { throw std::system_error(errno, std::generic_category()); }

}  // namespace

LoginFile::LoginFile(const std::string& storeUrl)
    : storeUrl_(storeUrl),
      path_(userFolder("XDG_STATE_HOME", ".local/state") / "kvx" / fileNameFor(storeUrl)) {}

// The URL comes last and shows that the file is whole.
std::optional<Login> LoginFile::read() const {
    std::ifstream file(path_);
    Login login;
    std::uint32_t renewal = 0;
    std::string url;
    if (std::getline(file, login.token) && std::getline(file, login.sessionId) && file >> renewal &&
        file.get() == '\n' && std::getline(file, url, '\0') && url == storeUrl_ &&
        !login.token.empty()) {
        login.renewal = std::chrono::system_clock::from_time_t(renewal);
        return login;
    }
    return std::nullopt;
}

void LoginFile::prepare() const {
    std::filesystem::create_directories(path_.parent_path().parent_path());
    if (mkdir(path_.parent_path().c_str(), 0700) != 0 && errno != EEXIST) {
        throwSystemError();
    }
}

void LoginFile::write(const Login& login) const {
    std::string temporary = path_.string() + ".XXXXXX";
    const int file = mkostemp(temporary.data(), O_CLOEXEC);  // Mode 0600.
    if (file < 0) {
        throwSystemError();
    }
    const std::string text = login.token + "\n" + login.sessionId + "\n" +
                             std::to_string(system_clock::to_time_t(login.renewal)) + "\n" +
                             storeUrl_;
    // Synced before it takes its name: nobody, not even the store, can restore a lost token.
    const bool written =
        ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
        fsync(file) == 0;
    const bool closed = close(file) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path_.c_str()) != 0) {
        const int error = errno;
        unlink(temporary.c_str());
        throw std::system_error(error, std::generic_category());
    }
}

}  // namespace storage::kvxtool
