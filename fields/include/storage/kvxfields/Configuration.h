#pragma once

/// @file
/// The fields of the records for usage and policies.

#include "storage/kvxclient/StorageConfiguration.h"
#include "storage/kvxfields/Field.h"

namespace storage::kvxfields {

/// @cond
KVXFIELDS_LIST(ResourcePolicy, field<&R::getVersionPolicy, &R::withVersionPolicy>("versionPolicy"),
               field<&R::getPublicAccessPolicy, &R::withPublicAccessPolicy>("publicAccessPolicy"))
KVXFIELDS_LIST(StorageUsageGetRequest, )
KVXFIELDS_LIST(StorageUsageGetResponse, field<&R::getUsageQuota, &R::withUsageQuota>("usageQuota"),
               field<&R::getStorageUsage, &R::withStorageUsage>("storageUsage"))
KVXFIELDS_LIST(ResourcePolicyGetRequest, field<&R::getResource, &R::withResource>("resource"))
KVXFIELDS_LIST(ResourcePolicyGetResponse, field<&R::getPolicy, &R::withPolicy>("policy"),
               field<&R::getEffectivePolicy, &R::withEffectivePolicy>("effectivePolicy"))
KVXFIELDS_LIST(ResourcePolicySetRequest, field<&R::getResource, &R::withResource>("resource"),
               field<&R::getResourcePolicy, &R::withResourcePolicy>("resourcePolicy"))
KVXFIELDS_LIST(ResourcePolicySetResponse, )
/// @endcond

}  // namespace storage::kvxfields
