#pragma once

#include "namespace/Places.h"
#include "storage/kvxclient/StorageConfiguration.h"

namespace storage::kvxstore::operations {

/// Whether the policy that holds at the place lets a write keep the content it replaces.
bool keepsVersions(const Context& context, const Place& place);

kvxclient::ResourcePolicySetResponse setResourcePolicy(
    const Context& context, const kvxclient::ResourcePolicySetRequest& request);

/// Where nothing is set up to the root, versions are ENABLED and public access is DENIED.
kvxclient::ResourcePolicyGetResponse getResourcePolicy(
    const Context& context, const kvxclient::ResourcePolicyGetRequest& request);

/// Of all buckets of the caller, in bytes.
kvxclient::StorageUsageGetResponse getStorageUsage(const Context& context,
                                                   const kvxclient::StorageUsageGetRequest&);

}  // namespace storage::kvxstore::operations
