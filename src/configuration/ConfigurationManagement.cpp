#include "storage/kvxclient/ConfigurationManagement.h"

#include <utility>

#include "core/AsyncCall.h"

namespace storage::kvxclient {

ConfigurationManagement::ConfigurationManagement(std::string endpoint,
                                                 std::function<std::string()> sessionIdSupplier,
                                                 std::string applicationId)
    : endpoint_(std::move(endpoint)),
      sessionIdSupplier_(std::move(sessionIdSupplier)),
      applicationId_(std::move(applicationId)) {}

ConfigurationManagement::~ConfigurationManagement() = default;

std::string ConfigurationManagement::getEndpoint() const { return endpoint_; }

std::string ConfigurationManagement::getApplicationId() const { return applicationId_; }

std::string ConfigurationManagement::getSessionId() const { return sessionIdSupplier_(); }

std::future<StorageUsageGetResponse> ConfigurationManagement::getStorageUsageAsync(
    StorageUsageGetRequest request) const {
    return detail::callCopying(*this, &ConfigurationManagement::getStorageUsage,
                               std::move(request));
}

StorageUsageGetResponse ConfigurationManagement::getStorageUsage(
    StorageUsageGetRequest request) const {
    return getStorageUsageAsync(std::move(request)).get();
}

std::future<ResourcePolicyGetResponse> ConfigurationManagement::getResourcePolicyAsync(
    ResourcePolicyGetRequest request) const {
    return detail::callCopying(*this, &ConfigurationManagement::getResourcePolicy,
                               std::move(request));
}

ResourcePolicyGetResponse ConfigurationManagement::getResourcePolicy(
    ResourcePolicyGetRequest request) const {
    return getResourcePolicyAsync(std::move(request)).get();
}

std::future<ResourcePolicySetResponse> ConfigurationManagement::setResourcePolicyAsync(
    ResourcePolicySetRequest request) const {
    return detail::callCopying(*this, &ConfigurationManagement::setResourcePolicy,
                               std::move(request));
}

ResourcePolicySetResponse ConfigurationManagement::setResourcePolicy(
    ResourcePolicySetRequest request) const {
    return setResourcePolicyAsync(std::move(request)).get();
}

}  // namespace storage::kvxclient
