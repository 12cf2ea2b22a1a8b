#pragma once

#include <vector>

#include "core/Context.h"
#include "storage/kvxstore/Administration.h"

namespace storage::kvxstore {

struct OldVersion {
    std::int64_t node = 0;
    std::int64_t label = 0;
    std::int64_t size = 0;
};

/// Finds some of the versions that the rules do not keep, in the order of files and labels, from
/// the one behind `after`; none at the end.
std::vector<OldVersion> findOldVersions(const Context& context, const PruneRules& rules,
                                        const OldVersion& after);

/// What a removal of all these versions comes to.
Pruned countVersions(const std::vector<OldVersion>& versions);

/// Removes those of the versions that still exist.
Pruned removeVersions(const Context& context, const std::vector<OldVersion>& versions);

}  // namespace storage::kvxstore
