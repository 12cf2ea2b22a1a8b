#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace storage::kvxremote {

/// A folder that goes with its contents.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

/// A process that is killed when the object ends, or the thread that made it.
class Child {
public:
    /// Starts a program, with its errors going to a file.
    Child(const std::vector<std::string>& command, const std::string& errors);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void signal(int number) const;
    /// Returns the exit code; 128 and the signal that ended it, or -1 if it goes on for longer.
    int wait(std::chrono::seconds atMost = std::chrono::seconds(20));
    /// The most memory that it ever had, in bytes.
    std::uint64_t peakMemory() const;

private:
    int process_ = 0;
};

/// The program kvxd, or another server with its options, ready for calls.
class Kvxd : public Child {
public:
    /// The log and the port are files in the folder.
    Kvxd(const TemporaryFolder& folder, const std::vector<std::string>& options,
         const std::string& program = KVXD_PROGRAM);

    std::uint16_t port() const { return port_; }
    /// What it has told so far.
    std::string log() const;
    /// Whether the log comes to have the text within some seconds.
    bool tells(const std::string& text) const;

private:
    const std::string logFile_;
    std::uint16_t port_ = 0;
};

/// The whole of a file.
std::string textOfFile(const std::string& name);

}  // namespace storage::kvxremote
