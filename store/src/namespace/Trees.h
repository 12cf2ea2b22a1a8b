#pragma once

#include "namespace/Places.h"

namespace storage::kvxstore::operations {

// A node with all below it. What exists at the target is deleted first.

/// Moves a tree. Within a bucket this takes the same time for a folder of any size, unless the path
/// gets longer: then the folder is searched for paths that would be too long.
void moveTree(const Context& context, const Place& source, const Place& target);

/// Copies a tree with its current contents, as version 1 of new files.
void copyTree(const Context& context, const Node& source, const Place& target);

}  // namespace storage::kvxstore::operations
