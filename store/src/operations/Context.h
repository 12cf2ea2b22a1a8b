#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "database/Connection.h"
#include "storage/kvxclient/KVXClientException.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore::operations {

inline const std::string noSession;

/// What an operation works with: the transaction it is part of, and who is calling.
struct Context {
    database::Connection& database;
    /// Complete: the clock is set.
    const StoreOptions& options;
    /// Names this opening of the store among all programs that have it open.
    std::int64_t instance;
    /// Empty in administration, which has no session.
    const std::string& sessionId = noSession;
    /// Asked by operations that may take long.
    std::function<bool()> isCancelled = [] { return false; };

    /// Nanoseconds since the epoch.
    std::int64_t now() const { return options.clock().time_since_epoch().count(); }
};

[[noreturn]] inline void refuse(kvxclient::KVXClientErrorCode code) {
    throw kvxclient::KVXClientException(code);
}

/// Refuses a value that is none of the enumerators from first to last.
template <class Enumeration>
void requireBetween(Enumeration value, Enumeration first, Enumeration last) {
    if (value < first || value > last) {
        refuse(kvxclient::KVXClientErrorCode::UNKNOWN);
    }
}

inline std::chrono::system_clock::time_point toTime(std::int64_t nanoseconds) {
    return std::chrono::system_clock::time_point(std::chrono::nanoseconds(nanoseconds));
}

}  // namespace storage::kvxstore::operations
