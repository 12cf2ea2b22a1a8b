#include "services/NotificationService.h"

#include "operations/Operations.h"

namespace storage::kvxstore::services {

using database::Access;
using namespace kvxclient;

NotificationService::NotificationService(std::string endpoint,
                                         std::function<std::string()> sessionIdSupplier,
                                         std::string applicationId, ServiceLink link)
    : Notification(std::move(endpoint), std::move(sessionIdSupplier), std::move(applicationId)),
      link_(std::move(link)) {}

void NotificationService::listFileChanges(FileChangeListRequest request,
                                          CompletionHandler<FileChangeListResponse> handler) const {
    link_.serve(Operation{"listFileChanges", operations::listFileChanges, Access::READ},
                getSessionId(), std::move(request), std::move(handler));
}

}  // namespace storage::kvxstore::services
