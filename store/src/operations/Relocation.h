#pragma once

#include "operations/Places.h"
#include "storage/kvxclient/NamespaceChanges.h"

namespace storage::kvxstore::operations {

/// Keeps times, versions and, within a bucket, takes the same time for a folder of any size.
kvxclient::MoveOrCopyResponse move(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request);

/// Copies current contents without copying a byte, as version 1 of new files.
kvxclient::MoveOrCopyResponse copy(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request);

/// Copies a node with all below it to a place that is free.
void copyNode(const Context& context, const Node& source, const Place& target);

}  // namespace storage::kvxstore::operations
