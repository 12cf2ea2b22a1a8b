#pragma once

/// @file
/// How a store is opened.

#include <chrono>
#include <functional>
#include <memory>

#include "storage/kvxstore/FaultPlan.h"

namespace storage::kvxstore {

/// What Store::open does about a store that is, or is not, there.
enum class CreateMode {
    CREATE_IF_MISSING,  ///< Opens the store, or makes it when there is nothing.
    MUST_EXIST,         ///< Opens the store; fails when there is none.
    MUST_BE_NEW         ///< Makes the store; fails when there is any file already.
};

/// How a store is opened. A plain value; the defaults suit an application as they are.
struct StoreOptions {
    /// What to do when the store is, or is not, there.
    CreateMode createMode = CreateMode::CREATE_IF_MISSING;

    /// How long a session lasts from its login, up to 100 years. Kept by no file: each opening
    /// chooses its own.
    std::chrono::seconds sessionLifetime = std::chrono::minutes(60);

    /// The largest file in bytes; a larger one is refused with FILE_TOO_LARGE.
    unsigned long fileSizeLimit = 1UL << 40U;

    /// Threads that serve reading calls, each with a database connection of its own. 0 means one
    /// per processor, at most four.
    unsigned readers = 0;

    /// The time, for time stamps and for what expires. Called on threads of the store, also
    /// concurrently. Empty means the system's clock; tests set their own.
    std::function<std::chrono::system_clock::time_point()> clock = {};

    /// Faults to happen on purpose, for tests of applications; none when empty. Refused and delayed
    /// calls complete on a thread of their own. kvxtransport::FaultInjector lets them happen on any
    /// transport.
    std::shared_ptr<FaultPlan> faults = {};
};

}  // namespace storage::kvxstore
