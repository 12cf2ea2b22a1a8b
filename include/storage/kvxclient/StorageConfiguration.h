#pragma once

/// @file
/// Storage usage and the policies of files and folders.

#include "storage/kvxclient/Enumerations.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxclient {

/// How versions of a resource are kept and whether it may be reached publicly.
class KVXCLIENT_EXPORT ResourcePolicy {
public:
    /// Makes a record whose fields are yet to be set.
    ResourcePolicy();

    /// Sets whether versions are kept.
    ResourcePolicy& withVersionPolicy(VersionPolicy versionPolicy);
    /// Returns whether versions are kept. No default: set it before use.
    VersionPolicy getVersionPolicy() const;

    /// Sets whether public access is allowed.
    ResourcePolicy& withPublicAccessPolicy(PublicAccessPolicy publicAccessPolicy);
    /// Returns whether public access is allowed. No default: set it before use.
    PublicAccessPolicy getPublicAccessPolicy() const;

    /// Compares versionPolicy and publicAccessPolicy.
    bool operator==(const ResourcePolicy& other) const;

private:
    VersionPolicy versionPolicy_ = VersionPolicy::INHERIT;
    PublicAccessPolicy publicAccessPolicy_ = PublicAccessPolicy::INHERIT;
};

/// Asks for the storage usage of the caller. Has no fields.
class KVXCLIENT_EXPORT StorageUsageGetRequest {
public:
    /// Makes the record.
    StorageUsageGetRequest();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const StorageUsageGetRequest& other) const;
};

/// How much storage the caller uses, in the service's unit.
class KVXCLIENT_EXPORT StorageUsageGetResponse {
public:
    /// Makes a record whose fields are yet to be set.
    StorageUsageGetResponse();

    /// Sets how much the caller may use.
    StorageUsageGetResponse& withUsageQuota(unsigned long usageQuota);
    /// Returns how much the caller may use. No default: set it before use.
    unsigned long getUsageQuota() const;

    /// Sets how much the caller uses.
    StorageUsageGetResponse& withStorageUsage(unsigned long storageUsage);
    /// Returns how much the caller uses. No default: set it before use.
    unsigned long getStorageUsage() const;

    /// Compares usageQuota and storageUsage.
    bool operator==(const StorageUsageGetResponse& other) const;

private:
    unsigned long usageQuota_ = 0;
    unsigned long storageUsage_ = 0;
};

/// Asks for the policy of a file or folder.
class KVXCLIENT_EXPORT ResourcePolicyGetRequest {
public:
    /// Makes a record with every field at its default.
    ResourcePolicyGetRequest();

    /// Sets the file or folder.
    ResourcePolicyGetRequest& withResource(Resource resource);
    /// Returns the file or folder. Default: a default Resource.
    Resource getResource() const;

    /// Compares resource.
    bool operator==(const ResourcePolicyGetRequest& other) const;

private:
    Resource resource_;
};

/// The policy of a file or folder.
class KVXCLIENT_EXPORT ResourcePolicyGetResponse {
public:
    /// Makes a record with every field at its default.
    ResourcePolicyGetResponse();

    /// Sets the policy of the resource, as the service gives it.
    ResourcePolicyGetResponse& withPolicy(ResourcePolicy policy);
    /// Returns the policy of the resource, as the service gives it. Default: a default
    /// ResourcePolicy.
    ResourcePolicy getPolicy() const;

    /// Sets the policy in effect for the resource, as the service gives it.
    ResourcePolicyGetResponse& withEffectivePolicy(ResourcePolicy effectivePolicy);
    /// Returns the policy in effect for the resource, as the service gives it. Default: a default
    /// ResourcePolicy.
    ResourcePolicy getEffectivePolicy() const;

    /// Compares policy and effectivePolicy.
    bool operator==(const ResourcePolicyGetResponse& other) const;

private:
    ResourcePolicy policy_;
    ResourcePolicy effectivePolicy_;
};

/// Asks to set the policy of a file or folder.
class KVXCLIENT_EXPORT ResourcePolicySetRequest {
public:
    /// Makes a record with the defaults of the fields that have one.
    ResourcePolicySetRequest();

    /// Sets the file or folder.
    ResourcePolicySetRequest& withResource(Resource resource);
    /// Returns the file or folder. Default: a default Resource.
    Resource getResource() const;

    /// Sets the policy to set.
    ResourcePolicySetRequest& withResourcePolicy(ResourcePolicy resourcePolicy);
    /// Returns the policy to set. No default: set it before use.
    ResourcePolicy getResourcePolicy() const;

    /// Compares resource and resourcePolicy.
    bool operator==(const ResourcePolicySetRequest& other) const;

private:
    Resource resource_;
    ResourcePolicy resourcePolicy_;
};

/// Confirms that the policy is set. Has no fields.
class KVXCLIENT_EXPORT ResourcePolicySetResponse {
public:
    /// Makes the record.
    ResourcePolicySetResponse();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const ResourcePolicySetResponse& other) const;
};

}  // namespace storage::kvxclient
