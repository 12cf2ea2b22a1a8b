#pragma once

/// @file
/// How a store is opened.

#include <chrono>
#include <functional>
#include <memory>

#include "storage/kvxstore/FaultPlan.h"

namespace storage::kvxstore {

/// Whether Store::open opens an existing store, makes a new one, or either.
enum class CreateMode {
    CREATE_IF_MISSING,  ///< Opens the store, or makes it when there is no file.
    MUST_EXIST,         ///< Opens the store; fails when there is none.
    MUST_BE_NEW         ///< Makes the store; fails when there is a file of any kind.
};

/// How a store is opened. The defaults suit most applications.
struct StoreOptions {
    /// Whether the store has to exist, or must not exist yet.
    CreateMode createMode = CreateMode::CREATE_IF_MISSING;

    /// How long a session lasts from its login, up to 100 years. It holds for logins by way of this
    /// Store object and is not kept in the file.
    std::chrono::seconds sessionLifetime = std::chrono::minutes(60);

    /// The size of the largest file in bytes. A larger file is refused with FILE_TOO_LARGE.
    unsigned long fileSizeLimit = 1UL << 40U;

    /// The number of threads that serve reading calls, each with its own database connection. 0
    /// means one per processor, at most four.
    unsigned readers = 0;

    /// The clock for time stamps and expiry, which tests may replace. Empty means the system's
    /// clock. The store calls it on several threads at once.
    std::function<std::chrono::system_clock::time_point()> clock = {};

    /// The faults to inject, for tests of applications. Empty means none. Refused and delayed calls
    /// complete on a thread of their own.
    std::shared_ptr<FaultPlan> faults = {};

    /// How long a writing call waits while another program writes to the store, before it fails
    /// because the store is in use; up to 100 years. Reading calls do not wait for writes.
    std::chrono::milliseconds lockPatience = std::chrono::seconds(60);
};

}  // namespace storage::kvxstore
