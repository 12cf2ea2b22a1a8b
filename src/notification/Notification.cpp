#include "storage/kvxclient/Notification.h"

#include <utility>

#include "core/AsyncCall.h"

namespace storage::kvxclient {

Notification::Notification(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                           std::string applicationId)
    : endpoint_(std::move(endpoint)),
      sessionIdSupplier_(std::move(sessionIdSupplier)),
      applicationId_(std::move(applicationId)) {}

Notification::~Notification() = default;

Notification& Notification::withOriginId(std::string originId) {
    originId_ = std::move(originId);
    return *this;
}

Notification& Notification::withClientString(std::string clientString) {
    clientString_ = std::move(clientString);
    return *this;
}

Notification& Notification::withKvxClientType(std::string clientType) {
    clientType_ = std::move(clientType);
    return *this;
}

std::string Notification::getEndpoint() const { return endpoint_; }

std::string Notification::getApplicationId() const { return applicationId_; }

std::string Notification::getOriginId() const { return originId_; }

std::string Notification::getClientString() const { return clientString_; }

std::string Notification::getClientType() const { return clientType_; }

std::string Notification::getSessionId() const { return sessionIdSupplier_(); }

std::future<FileChangeListResponse> Notification::listFileChangesAsync(
    FileChangeListRequest request) const {
    return detail::callCopying(*this, &Notification::listFileChanges, std::move(request));
}

FileChangeListResponse Notification::listFileChanges(FileChangeListRequest request) const {
    return listFileChangesAsync(std::move(request)).get();
}

}  // namespace storage::kvxclient
