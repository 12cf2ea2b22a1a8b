#pragma once

#include <string>

struct pg_result;

namespace storage::kvxstore::database {

/// A message of several lines as one sentence.
std::string oneLine(std::string message);

/// What a server's failed answer means.
class PostgresFault {
public:
    explicit PostgresFault(const pg_result& result);

    /// Whether the connection is of no more use.
    bool isLost() const;
    const std::string& message() const { return message_; }
    /// Throws a DatabaseError, a TransientError where the transaction may run again.
    [[noreturn]] void raise() const;

private:
    /// Empty where the failure is not the server's.
    std::string code_;
    std::string message_;
};

}  // namespace storage::kvxstore::database
