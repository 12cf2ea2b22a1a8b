#pragma once

#include <functional>
#include <optional>
#include <string>

#include "namespace/Contents.h"
#include "namespace/ResolvedPath.h"

namespace storage::kvxstore {

std::string versionIdOf(const Node& file);

/// Finds a version by its id, its label or both; an empty id and the label -1 are left out, and
/// without either it is the current version. A missing version is refused with RESOURCE_NOT_FOUND.
Content findVersion(const Context& context, const Node& file, const std::string& versionId,
                    std::int64_t label);

/// The current content of the file at the path, if it has that size and `isSame` says that it
/// consists of the bytes to be written. A damaged one does not.
std::optional<Content> findSameContent(const Context& context, const ResolvedPath& path,
                                       std::int64_t size,
                                       const std::function<bool(const Content&)>& isSame);

/// Prepares the file at the path, or a new file, for a new content of that size. Keeps the present
/// content as an earlier version where that is asked for and the policy allows it. Returns the file
/// with its new label; the caller adds the version.
Node revise(const Context& context, const ResolvedPath& path, std::int64_t size,
            bool createNewVersion);

/// Records the content as the version that the file's label names.
void addVersion(const Context& context, const Node& file, const Content& content);

}  // namespace storage::kvxstore
