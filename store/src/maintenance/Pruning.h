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

struct DamagedVersions {
    std::vector<OldVersion> old;
    /// Whether current versions are damaged as well.
    bool currentToo = false;
};

/// Finds the versions with a damaged content, though not all old ones where there are very many.
/// Reads all contents.
DamagedVersions findDamagedVersions(const Context& context);

/// What a removal of all these versions comes to.
Pruned countVersions(const std::vector<OldVersion>& versions);

/// Removes those of the versions that still exist.
Pruned removeVersions(const Context& context, const std::vector<OldVersion>& versions);

/// Removes those of the old versions that still exist, and counts the bytes in use anew, since the
/// sizes may have been damaged too. Unless current versions are damaged, which may have lost their
/// contents, it also lets go of contents that nothing names.
Pruned removeDamagedVersions(const Context& context, const DamagedVersions& versions);

}  // namespace storage::kvxstore
