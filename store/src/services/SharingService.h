#pragma once

#include "services/ServiceLink.h"
#include "storage/kvxclient/AccessControl.h"

namespace storage::kvxstore::services {

class SharingService final : public kvxclient::AccessControl {
public:
    SharingService(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                   std::string applicationId, ServiceLink link);

    void grantPermission(
        kvxclient::PermissionGrantRequest request,
        kvxclient::CompletionHandler<kvxclient::PermissionGrantResponse> handler) const override;
    void revokePermission(
        kvxclient::PermissionRevokeRequest request,
        kvxclient::CompletionHandler<kvxclient::PermissionRevokeResponse> handler) const override;
    void listPermissions(
        kvxclient::PermissionListRequest request,
        kvxclient::CompletionHandler<kvxclient::PermissionListResponse> handler) const override;
    void createInvitation(
        kvxclient::InvitationCreateRequest request,
        kvxclient::CompletionHandler<kvxclient::InvitationCreateResponse> handler) const override;
    void readInvitation(
        kvxclient::InvitationReadRequest request,
        kvxclient::CompletionHandler<kvxclient::InvitationReadResponse> handler) const override;
    void updateInvitation(
        kvxclient::InvitationUpdateRequest request,
        kvxclient::CompletionHandler<kvxclient::InvitationUpdateResponse> handler) const override;
    void deleteInvitation(
        kvxclient::InvitationDeleteRequest request,
        kvxclient::CompletionHandler<kvxclient::InvitationDeleteResponse> handler) const override;
    void listInvitations(
        kvxclient::InvitationListRequest request,
        kvxclient::CompletionHandler<kvxclient::InvitationListResponse> handler) const override;
    void copyFolderFromInvitation(
        kvxclient::InvitationCopyFolderRequest request,
        kvxclient::CompletionHandler<kvxclient::InvitationCopyFolderResponse> handler)
        const override;
    void getFolderContentFromInvitation(
        kvxclient::InvitationFolderContentRequest request,
        kvxclient::CompletionHandler<kvxclient::InvitationFolderContentResponse> handler)
        const override;
    void getInvitationDetails(
        kvxclient::InvitationDetailsRequest request,
        kvxclient::CompletionHandler<kvxclient::InvitationDetailsResponse> handler) const override;

private:
    template <class Request, class Response>
    void serve(const Operation<Request, Response>& operation, Request& request,
               kvxclient::CompletionHandler<Response>& handler) const;

    ServiceLink link_;
};

}  // namespace storage::kvxstore::services
