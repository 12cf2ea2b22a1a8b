#pragma once

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <fstream>

namespace storage::kvxstore {

/// What a process ends with that could not mount what its test needs.
constexpr int cannotMount = 77;

/// Lets this process mount what no other sees; also when it is not root's, where that is allowed.
inline bool enterOwnMounts() {
    const auto user = ::geteuid();
    const auto group = ::getegid();
    if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return false;
    }
    if (user != 0) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

}  // namespace storage::kvxstore
