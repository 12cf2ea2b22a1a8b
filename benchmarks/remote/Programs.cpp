#include "remote/Programs.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

namespace bench {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

Program::Program(const std::vector<std::string>& command) : id_(fork()) {
    if (id_ == 0) {
        std::vector<char*> words;
        for (const std::string& word : command) {
            words.push_back(const_cast<char*>(word.c_str()));
        }
        words.push_back(nullptr);
        execvp(words[0], words.data());
        _exit(127);
    }
}

Program::~Program() {
    kill(id_, SIGTERM);
    waitpid(id_, nullptr, 0);
}

std::uint16_t freePort() {
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof(address);
    bind(probe, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size);
    close(probe);
    return ntohs(address.sin_port);
}

void waitFor(std::uint16_t port) {
    for (int tries = 0; tries < 1000; ++tries) {
        const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = loopback(port);
        const bool accepted =
            connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
        close(probe);
        if (accepted) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    throw std::runtime_error("nobody listens on port " + std::to_string(port));
}

}  // namespace bench
