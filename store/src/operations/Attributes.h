#pragma once

#include "core/Context.h"
#include "storage/kvxclient/FolderListing.h"
#include "storage/kvxclient/Metadata.h"

namespace storage::kvxstore::operations {

// Of files and folders alike.

kvxclient::FileAttributesReadResponse readFileAttributes(
    const Context& context, const kvxclient::FileAttributesReadRequest& request);
kvxclient::SetMetadataResponse setMetadata(const Context& context,
                                           const kvxclient::SetMetadataRequest& request);

}  // namespace storage::kvxstore::operations
