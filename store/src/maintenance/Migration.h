#pragma once

#include <functional>
#include <vector>

#include "core/Context.h"
#include "storage/kvxstore/Administration.h"

namespace storage::kvxstore {

/// Copies all that lasts of a store into the tables of another database, and lets that be used as a
/// store once both were compared. Goes on with what an earlier run has copied. What `tell` throws
/// ends the run.
/// REQUIRES: connections that were opened as SOURCE and TARGET.
std::vector<MigratedTable> migrate(const Context& source, const Context& target,
                                   const std::function<void(const MigrationProgress&)>& tell);

}  // namespace storage::kvxstore
