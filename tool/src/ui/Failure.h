#pragma once

#include <exception>
#include <functional>
#include <stdexcept>
#include <string>

#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtool {

/// How the program ends. Part of its interface: documented in --help.
enum class ExitCode : int {
    OK = 0,
    FAILED = 1,
    USAGE = 2,
    NOT_FOUND = 3,
    REFUSED = 4,
    CONFLICT = 5,
    NO_ROOM = 6,
    STORE_FAILED = 7,
    STORE_DAMAGED = 8,
    UNREACHABLE = 9,
    READER_GONE = 141  ///< As if SIGPIPE had ended the process.
};

/// The exit codes as --help prints them.
extern const char* const EXIT_CODES;

/// What went wrong with what, in words for the person who typed the command.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, std::string subject, const std::string& reason)
        : std::runtime_error(reason), code_(code), subject_(std::move(subject)) {}

    /// Puts any exception into words: the codes of the service, the errors of the system, and
    /// the causes nested in them. A Failure keeps its own subject.
    static Failure of(const std::string& subject, const std::exception_ptr& error);

    ExitCode code() const { return code_; }
    const std::string& subject() const { return subject_; }

private:
    ExitCode code_;
    std::string subject_;
};

/// Runs `action`. Returns whether the store refused it with `code`; what else it throws goes on.
bool refusedWith(kvxclient::KVXClientErrorCode code, const std::function<void()>& action);

/// Thrown where the session is over and cannot be renewed, so that nothing else can be done.
class SessionEnded : public Failure {
public:
    using Failure::Failure;
    explicit SessionEnded(const Failure& failure) : Failure(failure) {}
};

}  // namespace storage::kvxtool
