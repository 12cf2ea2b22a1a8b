#pragma once

#include "core/Context.h"
#include "storage/kvxclient/NamespaceChanges.h"

namespace storage::kvxstore::operations {

/// Keeps times and versions. Within a bucket it takes the same time for a folder of any size,
/// unless the path gets longer: then it looks through the folder for paths that would be too long.
kvxclient::MoveOrCopyResponse move(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request);

/// Copies current contents without copying a byte, as version 1 of new files.
kvxclient::MoveOrCopyResponse copy(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request);

}  // namespace storage::kvxstore::operations
