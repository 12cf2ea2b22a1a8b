#include "storage/kvxclient/StorageConfiguration.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

ResourcePolicy::ResourcePolicy() = default;

ResourcePolicy& ResourcePolicy::withVersionPolicy(VersionPolicy versionPolicy) {
    versionPolicy_ = versionPolicy;
    return *this;
}

VersionPolicy ResourcePolicy::getVersionPolicy() const { return versionPolicy_; }

ResourcePolicy& ResourcePolicy::withPublicAccessPolicy(PublicAccessPolicy publicAccessPolicy) {
    publicAccessPolicy_ = publicAccessPolicy;
    return *this;
}

PublicAccessPolicy ResourcePolicy::getPublicAccessPolicy() const { return publicAccessPolicy_; }

bool ResourcePolicy::operator==(const ResourcePolicy& other) const {
    return detail::equal(*this, other, &ResourcePolicy::versionPolicy_,
                         &ResourcePolicy::publicAccessPolicy_);
}

StorageUsageGetRequest::StorageUsageGetRequest() = default;

bool StorageUsageGetRequest::operator==(const StorageUsageGetRequest& other) const {
    return this == &other;
}

StorageUsageGetResponse::StorageUsageGetResponse() = default;

StorageUsageGetResponse& StorageUsageGetResponse::withUsageQuota(unsigned long usageQuota) {
    usageQuota_ = usageQuota;
    return *this;
}

unsigned long StorageUsageGetResponse::getUsageQuota() const { return usageQuota_; }

StorageUsageGetResponse& StorageUsageGetResponse::withStorageUsage(unsigned long storageUsage) {
    storageUsage_ = storageUsage;
    return *this;
}

unsigned long StorageUsageGetResponse::getStorageUsage() const { return storageUsage_; }

bool StorageUsageGetResponse::operator==(const StorageUsageGetResponse& other) const {
    return detail::equal(*this, other, &StorageUsageGetResponse::usageQuota_,
                         &StorageUsageGetResponse::storageUsage_);
}

ResourcePolicyGetRequest::ResourcePolicyGetRequest() = default;

ResourcePolicyGetRequest& ResourcePolicyGetRequest::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource ResourcePolicyGetRequest::getResource() const { return resource_; }

bool ResourcePolicyGetRequest::operator==(const ResourcePolicyGetRequest& other) const {
    return detail::equal(*this, other, &ResourcePolicyGetRequest::resource_);
}

ResourcePolicyGetResponse::ResourcePolicyGetResponse() = default;

ResourcePolicyGetResponse& ResourcePolicyGetResponse::withPolicy(ResourcePolicy policy) {
    policy_ = std::move(policy);
    return *this;
}

ResourcePolicy ResourcePolicyGetResponse::getPolicy() const { return policy_; }

ResourcePolicyGetResponse& ResourcePolicyGetResponse::withEffectivePolicy(
    ResourcePolicy effectivePolicy) {
    effectivePolicy_ = std::move(effectivePolicy);
    return *this;
}

ResourcePolicy ResourcePolicyGetResponse::getEffectivePolicy() const { return effectivePolicy_; }

bool ResourcePolicyGetResponse::operator==(const ResourcePolicyGetResponse& other) const {
    return detail::equal(*this, other, &ResourcePolicyGetResponse::policy_,
                         &ResourcePolicyGetResponse::effectivePolicy_);
}

ResourcePolicySetRequest::ResourcePolicySetRequest() = default;

ResourcePolicySetRequest& ResourcePolicySetRequest::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource ResourcePolicySetRequest::getResource() const { return resource_; }

ResourcePolicySetRequest& ResourcePolicySetRequest::withResourcePolicy(
    ResourcePolicy resourcePolicy) {
    resourcePolicy_ = std::move(resourcePolicy);
    return *this;
}

ResourcePolicy ResourcePolicySetRequest::getResourcePolicy() const { return resourcePolicy_; }

bool ResourcePolicySetRequest::operator==(const ResourcePolicySetRequest& other) const {
    return detail::equal(*this, other, &ResourcePolicySetRequest::resource_,
                         &ResourcePolicySetRequest::resourcePolicy_);
}

ResourcePolicySetResponse::ResourcePolicySetResponse() = default;

bool ResourcePolicySetResponse::operator==(const ResourcePolicySetResponse& other) const {
    return this == &other;
}

}  // namespace storage::kvxclient
