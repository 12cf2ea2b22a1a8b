#pragma once

#include <exception>

namespace storage::kvxtool {

/// Thrown where work ends early because a signal asked for it.
class Interrupted : public std::exception {
public:
    explicit Interrupted(int signal) : signal_(signal) {}
    int signal() const { return signal_; }
    const char* what() const noexcept override { return "interrupted"; }

private:
    int signal_;
};

/// While one lives, a signal that would end the process asks the main thread to end its work
/// instead: there check() throws, and system calls that wait fail with EINTR.
class Interruption {
public:
    Interruption();
    ~Interruption();

    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Throws Interrupted once a signal has asked the work to end.
    static void check();

    /// Whether a signal has asked the work to end.
    static bool isRequested();

    /// Asks the work to end and returns true; false where no Interruption lives.
    static bool request(int signal);
};

}  // namespace storage::kvxtool
