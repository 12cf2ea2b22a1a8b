#pragma once

/// @file
/// The service for storage usage and policies.

#include <functional>
#include <future>
#include <string>

#include "storage/kvxclient/CompletionHandler.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/StorageConfiguration.h"

namespace storage::kvxclient {

/// The storage configuration of the service: usage, quota and policies.
///
/// An abstract class: a transport derives from it and implements the callback forms. It has no
/// identity strings, unlike the other services.
///
/// Every operation has the three forms of @ref call_forms, which say what holds for errors, threads
/// and lifetime; an operation lists the errors of its own.
class KVXCLIENT_EXPORT ConfigurationManagement {
public:
    /// Makes the service for an endpoint.
    ///
    /// Each getSessionId() calls `sessionIdSupplier` on the calling thread. REQUIRES: several
    /// threads may call it at once.
    ConfigurationManagement(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                            std::string applicationId);

    /// Returns the endpoint of the service.
    std::string getEndpoint() const;
    /// Returns the id of the calling application.
    std::string getApplicationId() const;
    /// Calls the supplier and returns its result. Nothing is cached.
    ///
    /// @throws std::bad_function_call when the supplier is empty; whatever the supplier throws.
    std::string getSessionId() const;

    // The destructor is the first slot; the callback forms follow in the order of theirs.

    /// Destroys the service. REQUIRES: no operation is running in it.
    virtual ~ConfigurationManagement();

    /// Sets the policy of a file or folder, and of everything below it that inherits.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: it does not exist for the caller.
    /// - UNAUTHORIZED: the caller does not own it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void setResourcePolicy(ResourcePolicySetRequest request,
                                   CompletionHandler<ResourcePolicySetResponse> handler) const = 0;

    /// Reads the policy of a file or folder and its effective policy.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: it does not exist for the caller.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void getResourcePolicy(ResourcePolicyGetRequest request,
                                   CompletionHandler<ResourcePolicyGetResponse> handler) const = 0;

    /// Reads how much storage the caller uses and may use.
    virtual void getStorageUsage(StorageUsageGetRequest request,
                                 CompletionHandler<StorageUsageGetResponse> handler) const = 0;

    // Future forms.

    /// Future form of getStorageUsage().
    std::future<StorageUsageGetResponse> getStorageUsageAsync(StorageUsageGetRequest request) const;
    /// Future form of getResourcePolicy().
    std::future<ResourcePolicyGetResponse> getResourcePolicyAsync(
        ResourcePolicyGetRequest request) const;
    /// Future form of setResourcePolicy().
    std::future<ResourcePolicySetResponse> setResourcePolicyAsync(
        ResourcePolicySetRequest request) const;

    // Blocking forms.

    /// Blocking form of getStorageUsage().
    StorageUsageGetResponse getStorageUsage(StorageUsageGetRequest request) const;
    /// Blocking form of getResourcePolicy().
    ResourcePolicyGetResponse getResourcePolicy(ResourcePolicyGetRequest request) const;
    /// Blocking form of setResourcePolicy().
    ResourcePolicySetResponse setResourcePolicy(ResourcePolicySetRequest request) const;

private:
    std::string endpoint_;
    std::function<std::string()> sessionIdSupplier_;
    std::string applicationId_;
};

}  // namespace storage::kvxclient
