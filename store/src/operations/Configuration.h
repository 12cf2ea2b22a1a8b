#pragma once

#include "core/Context.h"
#include "storage/kvxclient/StorageConfiguration.h"

namespace storage::kvxstore::operations {

kvxclient::ResourcePolicySetResponse setResourcePolicy(
    const Context& context, const kvxclient::ResourcePolicySetRequest& request);

kvxclient::ResourcePolicyGetResponse getResourcePolicy(
    const Context& context, const kvxclient::ResourcePolicyGetRequest& request);

/// Of all buckets of the caller, in bytes.
kvxclient::StorageUsageGetResponse getStorageUsage(const Context& context,
                                                   const kvxclient::StorageUsageGetRequest&);

}  // namespace storage::kvxstore::operations
