#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// A program that serves until the object ends.
class Program {
public:
    explicit Program(const std::vector<std::string>& command);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t id() const { return id_; }

private:
    pid_t id_;
};

/// A port of this machine that was free a moment ago.
std::uint16_t freePort();

/// Waits until somebody accepts connections there. Throws after ten seconds.
void waitFor(std::uint16_t port);

}  // namespace bench
