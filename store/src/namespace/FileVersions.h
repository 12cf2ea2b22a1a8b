#pragma once

#include "namespace/Contents.h"
#include "namespace/Places.h"

namespace storage::kvxstore::operations {

std::string versionIdOf(const Node& file);

/// The version of a file that both id and label name, an empty id or the label -1 naming any; the
/// current one when neither does. Refuses a version that is not there with RESOURCE_NOT_FOUND.
Content findVersion(const Context& context, const Node& file, const std::string& versionId,
                    std::int64_t label);

/// Readies the file at the place, or a new one where there is none, for a new content of that size
/// and returns it with a new label. What it had is kept as an earlier version where that is asked
/// for and the policy does not forbid it. The caller adds the version.
Node revise(const Context& context, const Place& place, std::int64_t size, bool createNewVersion);

/// Records the content as the version that the file's label names.
void addVersion(const Context& context, const Node& file, const Content& content);

}  // namespace storage::kvxstore::operations
