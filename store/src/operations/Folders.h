#pragma once

#include "core/Context.h"
#include "storage/kvxclient/FolderListing.h"
#include "storage/kvxclient/Metadata.h"
#include "storage/kvxclient/NamespaceChanges.h"

namespace storage::kvxstore::operations {

kvxclient::FolderCreateResponse createFolder(const Context& context,
                                             const kvxclient::FolderCreateRequest& request);
kvxclient::FolderDeleteResponse deleteFolder(const Context& context,
                                             const kvxclient::FolderDeleteRequest& request);
kvxclient::FolderListResponse listFolder(const Context& context,
                                         const kvxclient::FolderListRequest& request);
kvxclient::MultiFolderListResponse listMultiFolder(
    const Context& context, const kvxclient::MultiFolderListRequest& request);
kvxclient::FileAttributesReadResponse readFileAttributes(
    const Context& context, const kvxclient::FileAttributesReadRequest& request);
kvxclient::SetMetadataResponse setMetadata(const Context& context,
                                           const kvxclient::SetMetadataRequest& request);

}  // namespace storage::kvxstore::operations
