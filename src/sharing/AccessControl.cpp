#include "storage/kvxclient/AccessControl.h"

#include <utility>

#include "core/AsyncCall.h"

namespace storage::kvxclient {

AccessControl::AccessControl(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                             std::string applicationId)
    : endpoint_(std::move(endpoint)),
      sessionIdSupplier_(std::move(sessionIdSupplier)),
      applicationId_(std::move(applicationId)) {}

AccessControl::~AccessControl() = default;

AccessControl& AccessControl::withOriginId(std::string originId) {
    originId_ = std::move(originId);
    return *this;
}

AccessControl& AccessControl::withClientString(std::string clientString) {
    clientString_ = std::move(clientString);
    return *this;
}

AccessControl& AccessControl::withKvxClientType(std::string clientType) {
    clientType_ = std::move(clientType);
    return *this;
}

std::string AccessControl::getEndpoint() const { return endpoint_; }

std::string AccessControl::getApplicationId() const { return applicationId_; }

std::string AccessControl::getOriginId() const { return originId_; }

std::string AccessControl::getClientString() const { return clientString_; }

std::string AccessControl::getClientType() const { return clientType_; }

std::string AccessControl::getSessionId() const { return sessionIdSupplier_(); }

std::future<PermissionGrantResponse> AccessControl::grantPermissionAsync(
    PermissionGrantRequest request) const {
    return detail::callMoving(*this, &AccessControl::grantPermission, std::move(request));
}

PermissionGrantResponse AccessControl::grantPermission(PermissionGrantRequest request) const {
    return grantPermissionAsync(std::move(request)).get();
}

std::future<PermissionRevokeResponse> AccessControl::revokePermissionAsync(
    PermissionRevokeRequest request) const {
    return detail::callMoving(*this, &AccessControl::revokePermission, std::move(request));
}

PermissionRevokeResponse AccessControl::revokePermission(PermissionRevokeRequest request) const {
    return revokePermissionAsync(std::move(request)).get();
}

std::future<PermissionListResponse> AccessControl::listPermissionsAsync(
    PermissionListRequest request) const {
    return detail::callMoving(*this, &AccessControl::listPermissions, std::move(request));
}

PermissionListResponse AccessControl::listPermissions(PermissionListRequest request) const {
    return listPermissionsAsync(std::move(request)).get();
}

std::future<InvitationCreateResponse> AccessControl::createInvitationAsync(
    InvitationCreateRequest request) const {
    return detail::callMoving(*this, &AccessControl::createInvitation, std::move(request));
}

InvitationCreateResponse AccessControl::createInvitation(InvitationCreateRequest request) const {
    return createInvitationAsync(std::move(request)).get();
}

std::future<InvitationReadResponse> AccessControl::readInvitationAsync(
    InvitationReadRequest request) const {
    return detail::callMoving(*this, &AccessControl::readInvitation, std::move(request));
}

InvitationReadResponse AccessControl::readInvitation(InvitationReadRequest request) const {
    return readInvitationAsync(std::move(request)).get();
}

std::future<InvitationUpdateResponse> AccessControl::updateInvitationAsync(
    InvitationUpdateRequest request) const {
    return detail::callMoving(*this, &AccessControl::updateInvitation, std::move(request));
}

InvitationUpdateResponse AccessControl::updateInvitation(InvitationUpdateRequest request) const {
    return updateInvitationAsync(std::move(request)).get();
}

std::future<InvitationDeleteResponse> AccessControl::deleteInvitationAsync(
    InvitationDeleteRequest request) const {
    return detail::callMoving(*this, &AccessControl::deleteInvitation, std::move(request));
}

InvitationDeleteResponse AccessControl::deleteInvitation(InvitationDeleteRequest request) const {
    return deleteInvitationAsync(std::move(request)).get();
}

std::future<InvitationListResponse> AccessControl::listInvitationsAsync(
    InvitationListRequest request) const {
    return detail::callMoving(*this, &AccessControl::listInvitations, std::move(request));
}

InvitationListResponse AccessControl::listInvitations(InvitationListRequest request) const {
    return listInvitationsAsync(std::move(request)).get();
}

std::future<InvitationCopyFolderResponse> AccessControl::copyFolderFromInvitationAsync(
    InvitationCopyFolderRequest request) const {
    return detail::callMoving(*this, &AccessControl::copyFolderFromInvitation, std::move(request));
}

InvitationCopyFolderResponse AccessControl::copyFolderFromInvitation(
    InvitationCopyFolderRequest request) const {
    return copyFolderFromInvitationAsync(std::move(request)).get();
}

std::future<InvitationFolderContentResponse> AccessControl::getFolderContentFromInvitationAsync(
    InvitationFolderContentRequest request) const {
    return detail::callMoving(*this, &AccessControl::getFolderContentFromInvitation,
                              std::move(request));
}

InvitationFolderContentResponse AccessControl::getFolderContentFromInvitation(
    InvitationFolderContentRequest request) const {
    return getFolderContentFromInvitationAsync(std::move(request)).get();
}

std::future<InvitationDetailsResponse> AccessControl::getInvitationDetailsAsync(
    InvitationDetailsRequest request) const {
    return detail::callMoving(*this, &AccessControl::getInvitationDetails, std::move(request));
}

InvitationDetailsResponse AccessControl::getInvitationDetails(
    InvitationDetailsRequest request) const {
    return getInvitationDetailsAsync(std::move(request)).get();
}

}  // namespace storage::kvxclient
