#pragma once

#include <functional>

#include "database/Connection.h"

namespace storage::kvxstore::scheduler {

/// Thrown by a job that can go on only after other work. That work is done in portions, each in a
/// transaction of its own, until one returns false; then the job runs again from its start.
struct Postponement {
    std::function<bool(database::Connection&)> portion;
};

}  // namespace storage::kvxstore::scheduler
