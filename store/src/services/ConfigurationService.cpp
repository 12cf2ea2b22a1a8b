#include "services/ConfigurationService.h"

#include "operations/Operations.h"

namespace storage::kvxstore::services {

using database::Access;
using namespace kvxclient;

ConfigurationService::ConfigurationService(std::string endpoint,
                                           std::function<std::string()> sessionIdSupplier,
                                           std::string applicationId, ServiceLink link)
    : ConfigurationManagement(std::move(endpoint), std::move(sessionIdSupplier),
                              std::move(applicationId)),
      link_(std::move(link)) {}

template <class Request, class Response>
void ConfigurationService::serve(const Operation<Request, Response>& operation, Request& request,
                                 CompletionHandler<Response>& handler) const {
    link_.serve(operation, getSessionId(), std::move(request), std::move(handler));
}

void ConfigurationService::setResourcePolicy(
    ResourcePolicySetRequest request, CompletionHandler<ResourcePolicySetResponse> handler) const {
    serve(Operation{"setResourcePolicy", operations::setResourcePolicy, Access::WRITE}, request,
          handler);
}

void ConfigurationService::getResourcePolicy(
    ResourcePolicyGetRequest request, CompletionHandler<ResourcePolicyGetResponse> handler) const {
    serve(Operation{"getResourcePolicy", operations::getResourcePolicy, Access::READ}, request,
          handler);
}

void ConfigurationService::getStorageUsage(
    StorageUsageGetRequest request, CompletionHandler<StorageUsageGetResponse> handler) const {
    serve(Operation{"getStorageUsage", operations::getStorageUsage, Access::READ}, request,
          handler);
}

}  // namespace storage::kvxstore::services
