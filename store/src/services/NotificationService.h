#pragma once

#include "services/ServiceLink.h"
#include "storage/kvxclient/Notification.h"

namespace storage::kvxstore::services {

class NotificationService final : public kvxclient::Notification {
public:
    NotificationService(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                        std::string applicationId, ServiceLink link);

    void listFileChanges(
        kvxclient::FileChangeListRequest request,
        kvxclient::CompletionHandler<kvxclient::FileChangeListResponse> handler) const override;

private:
    ServiceLink link_;
};

}  // namespace storage::kvxstore::services
