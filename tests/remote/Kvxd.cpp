#include "Kvxd.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace storage::kvxremote {

namespace {

using Clock = std::chrono::steady_clock;

/// Looks again and again whether it holds, for as long as the machine may be busy.
template <class Condition>
bool comesTrue(const Condition& holds) {
    const auto end = Clock::now() + std::chrono::seconds(20);
    while (!holds()) {
        if (Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::vector<std::string> commandOf(const std::string& program,
                                   const std::vector<std::string>& options,
                                   const std::string& portFile) {
    std::filesystem::remove(portFile);
    std::vector<std::string> command = {program, "--port-file", portFile};
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

}  // namespace

TemporaryFolder::TemporaryFolder()
    : path_(std::filesystem::temp_directory_path() / "kvxremote-XXXXXX") {
    if (::mkdtemp(path_.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder");
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Child::Child(const std::vector<std::string>& command, const std::string& errors) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    process_ = ::fork();
    if (process_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        rlimit files{};
        ::getrlimit(RLIMIT_NOFILE, &files);
        files.rlim_cur = std::min<rlim_t>(files.rlim_max, 1024);  // As where users log in.
        ::setrlimit(RLIMIT_NOFILE, &files);
        ::close_range(3, ~0U, 0);  // Connections of the test, which would not end with it.
        if (::freopen(errors.c_str(), "a", stderr) != nullptr) {
            ::execv(arguments[0], arguments.data());
        }
        ::_exit(127);
    }
}

Child::~Child() {
    if (process_ != 0) {
        signal(SIGKILL);
        wait();
    }
}

void Child::signal(int number) const { ::kill(process_, number); }

int Child::wait(std::chrono::seconds atMost) {
    const auto end = Clock::now() + atMost;
    int status = 0;
    while (::waitpid(process_, &status, WNOHANG) == 0) {
        if (Clock::now() > end) {
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    process_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::uint64_t Child::peakMemory() const {
    const std::string status = textOfFile("/proc/" + std::to_string(process_) + "/status");
    const std::size_t at = status.find("VmHWM:");
    return at == std::string::npos ? 0 : std::stoull(status.substr(at + 6)) << 10U;
}

Kvxd::Kvxd(const TemporaryFolder& folder, const std::vector<std::string>& options,
           const std::string& program)
    : Child(commandOf(program, options, folder / "port"), folder / "log"),
      logFile_(folder / "log") {
    if (!comesTrue([&] { return !textOfFile(folder / "port").empty(); })) {
        throw std::runtime_error("kvxd does not start: " + log());
    }
    port_ = static_cast<std::uint16_t>(std::stoul(textOfFile(folder / "port")));
}

std::string Kvxd::log() const { return textOfFile(logFile_); }

bool Kvxd::tells(const std::string& text) const {
    return comesTrue([&] { return log().find(text) != std::string::npos; });
}

std::string textOfFile(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
}

}  // namespace storage::kvxremote
