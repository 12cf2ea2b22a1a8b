#pragma once

#include "services/ServiceLink.h"
#include "storage/kvxclient/ConfigurationManagement.h"

namespace storage::kvxstore::services {

class ConfigurationService final : public kvxclient::ConfigurationManagement {
public:
    ConfigurationService(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                         std::string applicationId, ServiceLink link);

    void setResourcePolicy(
        kvxclient::ResourcePolicySetRequest request,
        kvxclient::CompletionHandler<kvxclient::ResourcePolicySetResponse> handler) const override;
    void getResourcePolicy(
        kvxclient::ResourcePolicyGetRequest request,
        kvxclient::CompletionHandler<kvxclient::ResourcePolicyGetResponse> handler) const override;
    void getStorageUsage(
        kvxclient::StorageUsageGetRequest request,
        kvxclient::CompletionHandler<kvxclient::StorageUsageGetResponse> handler) const override;

private:
    template <class Request, class Response>
    void serve(const Operation<Request, Response>& operation, Request& request,
               kvxclient::CompletionHandler<Response>& handler) const;

    ServiceLink link_;
};

}  // namespace storage::kvxstore::services
