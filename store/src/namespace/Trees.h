#pragma once

#include "namespace/ResolvedPath.h"

namespace storage::kvxstore {

// A tree is a node with all below it. Both functions first delete what exists at the target.

/// Moves a tree. Within a bucket a folder of any size takes the same time, unless the path gets
/// longer: then the folder is searched for paths that would be too long.
void moveTree(const Context& context, const ResolvedPath& source, const ResolvedPath& target);

/// Copies a tree with its current contents, as version 1 of new files.
void copyTree(const Context& context, const Node& source, const ResolvedPath& target);

}  // namespace storage::kvxstore
