#pragma once

#include "core/Context.h"
#include "storage/kvxclient/FolderListing.h"
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
}  // namespace storage::kvxstore::operations
