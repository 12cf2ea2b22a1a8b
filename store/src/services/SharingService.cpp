#include "services/SharingService.h"

#include "operations/Operations.h"

namespace storage::kvxstore::services {

using database::Access;
using namespace kvxclient;

SharingService::SharingService(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                               std::string applicationId, ServiceLink link)
    : AccessControl(std::move(endpoint), std::move(sessionIdSupplier), std::move(applicationId)),
      link_(std::move(link)) {}

template <class Request, class Response>
void SharingService::serve(const Operation<Request, Response>& operation, Request& request,
                           CompletionHandler<Response>& handler) const {
    link_.serve(operation, getSessionId(), std::move(request), std::move(handler));
}

void SharingService::grantPermission(PermissionGrantRequest request,
                                     CompletionHandler<PermissionGrantResponse> handler) const {
    serve(Operation{"grantPermission", operations::grantPermission, Access::WRITE}, request,
          handler);
}

void SharingService::revokePermission(PermissionRevokeRequest request,
                                      CompletionHandler<PermissionRevokeResponse> handler) const {
    serve(Operation{"revokePermission", operations::revokePermission, Access::WRITE}, request,
          handler);
}

void SharingService::listPermissions(PermissionListRequest request,
                                     CompletionHandler<PermissionListResponse> handler) const {
    serve(Operation{"listPermissions", operations::listPermissions, Access::READ}, request,
          handler);
}

void SharingService::createInvitation(InvitationCreateRequest request,
                                      CompletionHandler<InvitationCreateResponse> handler) const {
    serve(Operation{"createInvitation", operations::createInvitation, Access::WRITE}, request,
          handler);
}

void SharingService::readInvitation(InvitationReadRequest request,
                                    CompletionHandler<InvitationReadResponse> handler) const {
    serve(Operation{"readInvitation", operations::readInvitation, Access::READ}, request, handler);
}

void SharingService::updateInvitation(InvitationUpdateRequest request,
                                      CompletionHandler<InvitationUpdateResponse> handler) const {
    serve(Operation{"updateInvitation", operations::updateInvitation, Access::WRITE}, request,
          handler);
}

void SharingService::deleteInvitation(InvitationDeleteRequest request,
                                      CompletionHandler<InvitationDeleteResponse> handler) const {
    serve(Operation{"deleteInvitation", operations::deleteInvitation, Access::WRITE}, request,
          handler);
}

void SharingService::listInvitations(InvitationListRequest request,
                                     CompletionHandler<InvitationListResponse> handler) const {
    serve(Operation{"listInvitations", operations::listInvitations, Access::READ}, request,
          handler);
}

void SharingService::copyFolderFromInvitation(
    InvitationCopyFolderRequest request,
    CompletionHandler<InvitationCopyFolderResponse> handler) const {
    serve(
        Operation{"copyFolderFromInvitation", operations::copyFolderFromInvitation, Access::WRITE},
        request, handler);
}

void SharingService::getFolderContentFromInvitation(
    InvitationFolderContentRequest request,
    CompletionHandler<InvitationFolderContentResponse> handler) const {
    serve(Operation{"getFolderContentFromInvitation", operations::getFolderContentFromInvitation,
                    Access::READ},
          request, handler);
}

void SharingService::getInvitationDetails(
    InvitationDetailsRequest request, CompletionHandler<InvitationDetailsResponse> handler) const {
    serve(Operation{"getInvitationDetails", operations::getInvitationDetails, Access::READ},
          request, handler);
}

}  // namespace storage::kvxstore::services
