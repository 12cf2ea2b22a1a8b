#pragma once

#include <vector>

#include "core/Context.h"
#include "storage/kvxstore/Administration.h"

namespace storage::kvxstore {

struct OldVersion {
    std::int64_t node = 0;
    std::int64_t label = 0;
    std::int64_t size = 0;
    /// Whether its size is damaged: such a version goes only with the damaged ones.
    bool isDamaged = false;
};

/// Finds some of the versions that the rules do not keep, in the order of files and labels, from
/// the one behind `after`; none at the end.
std::vector<OldVersion> findOldVersions(const Context& context, const PruneRules& rules,
                                        const OldVersion& after);

struct DamagedVersions {
    std::vector<OldVersion> old;
    /// Whether there are more of them.
    bool more = false;
    /// Whether there is anything to mend but these versions.
    bool mendable = false;
    /// Whether there is damage that cannot be mended, and may be why other things look useless.
    bool worse = false;
};

/// Finds old versions with a damaged content, up to a bounded number. Verifies the whole store.
DamagedVersions findDamagedVersions(const Context& context);

/// What a removal of all these versions comes to.
Pruned countVersions(const std::vector<OldVersion>& versions);

/// Removes those of the versions that still exist.
Pruned removeVersions(const Context& context, const std::vector<OldVersion>& versions);

/// Removes those of the old versions that still exist. Unless there is worse damage, it also counts
/// the bytes in use anew, since the sizes may have been damaged too, and lets go of contents that
/// nothing names.
Pruned removeDamagedVersions(const Context& context, const DamagedVersions& versions);

}  // namespace storage::kvxstore
