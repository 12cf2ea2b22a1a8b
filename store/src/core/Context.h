#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "database/Connection.h"
#include "storage/kvxclient/KVXClientException.h"
#include "storage/kvxstore/StoreOptions.h"

namespace storage::kvxstore {

// Requests, responses and error codes are the client's.
using namespace kvxclient;
using database::BucketRow;
using database::BucketStep;
using ErrorCode = KVXClientErrorCode;

inline const std::string noSession;

/// What an operation works with: the transaction it is part of, and the caller.
struct Context {
    database::Connection& database;
    /// Complete, with the clock set.
    const StoreOptions& options;
    /// Identifies this opening of the store among those of all programs.
    std::int64_t instance;
    /// Empty in administration, which has no session.
    const std::string& sessionId = noSession;
    /// Long operations ask this from time to time.
    std::function<bool()> isCancelled = [] { return false; };

    /// Nanoseconds since the epoch.
    std::int64_t now() const { return options.clock().time_since_epoch().count(); }
};

[[noreturn]] inline void refuse(ErrorCode code) { throw KVXClientException(code); }

/// Refuses a value that is not among the enumerators from first to last.
template <class Enumeration>
void requireBetween(Enumeration value, Enumeration first, Enumeration last) {
    if (value < first || value > last) {
        refuse(ErrorCode::UNKNOWN);
    }
}

inline std::chrono::system_clock::time_point toTime(std::int64_t nanoseconds) {
    return std::chrono::system_clock::time_point(std::chrono::nanoseconds(nanoseconds));
}

}  // namespace storage::kvxstore
