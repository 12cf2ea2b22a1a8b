#pragma once

#include "operations/Context.h"
#include "storage/kvxclient/NamespaceChanges.h"

namespace storage::kvxstore::operations {

/// Keeps times, versions and, within a bucket, takes the same time for a folder of any size.
kvxclient::MoveOrCopyResponse move(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request);

/// Copies current contents without copying a byte, as version 1 of new files.
kvxclient::MoveOrCopyResponse copy(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request);

}  // namespace storage::kvxstore::operations
