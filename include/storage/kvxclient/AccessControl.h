#pragma once

/// @file
/// The service for sharing.

#include <functional>
#include <future>
#include <string>

#include "storage/kvxclient/CompletionHandler.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/InvitationFolderContent.h"
#include "storage/kvxclient/Invitations.h"
#include "storage/kvxclient/Permissions.h"

namespace storage::kvxclient {

/// The sharing of the service: permissions granted by name, and invitations to folders.
///
/// An abstract class: a transport derives from it and implements the callback forms.
///
/// Every operation has the three forms of @ref call_forms, which say what holds for errors, threads
/// and lifetime; an operation lists the errors of its own.
class KVXCLIENT_EXPORT AccessControl {
public:
    /// Makes the service for an endpoint.
    ///
    /// Each getSessionId() calls `sessionIdSupplier` on the calling thread. REQUIRES: several
    /// threads may call it at once.
    AccessControl(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                  std::string applicationId);

    // Configuration. REQUIRES: no other thread uses the service yet.

    /// Sets the id of the origin of the requests.
    AccessControl& withOriginId(std::string originId);
    /// Sets the text that describes the calling client, kept exactly as given.
    AccessControl& withClientString(std::string clientString);
    /// Sets the kind of the client, kept exactly as given. Read with getClientType().
    AccessControl& withKvxClientType(std::string clientType);

    /// Returns the endpoint of the service.
    std::string getEndpoint() const;
    /// Returns the id of the calling application.
    std::string getApplicationId() const;
    /// Returns the id of the origin of the requests. Default: empty.
    std::string getOriginId() const;
    /// Returns the text that describes the calling client. Default: empty.
    std::string getClientString() const;
    /// Returns the kind of the client. Default: empty.
    std::string getClientType() const;
    /// Calls the supplier and returns its result. Nothing is cached.
    ///
    /// @throws std::bad_function_call when the supplier is empty; whatever the supplier throws.
    std::string getSessionId() const;

    // The destructor is the first slot; the callback forms follow in the order of theirs.

    /// Destroys the service. REQUIRES: no operation is running in it.
    virtual ~AccessControl();

    /// Grants a subject a right on a file or folder and everything below it.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file or folder, or a subject who must exist, does not exist for
    ///   the caller.
    /// - UNAUTHORIZED: the caller does not own it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void grantPermission(PermissionGrantRequest request,
                                 CompletionHandler<PermissionGrantResponse> handler) const = 0;

    /// Revokes a permission.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file, folder or permission does not exist for the caller.
    /// - UNAUTHORIZED: the caller does not own it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void revokePermission(PermissionRevokeRequest request,
                                  CompletionHandler<PermissionRevokeResponse> handler) const = 0;

    /// Lists the permissions on a file or folder.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the file or folder does not exist for the caller.
    /// - UNAUTHORIZED: the caller does not own it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void listPermissions(PermissionListRequest request,
                                 CompletionHandler<PermissionListResponse> handler) const = 0;

    /// Invites the recipient of the request to a folder or, without one, anybody who holds the
    /// invitation.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the folder does not exist for the caller.
    /// - CONFLICT: the path names a file.
    /// - UNAUTHORIZED: the caller does not own it.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void createInvitation(InvitationCreateRequest request,
                                  CompletionHandler<InvitationCreateResponse> handler) const = 0;

    /// Reads an invitation that the caller sent or received.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the invitation does not exist for the caller.
    virtual void readInvitation(InvitationReadRequest request,
                                CompletionHandler<InvitationReadResponse> handler) const = 0;

    /// Accepts or declines an invitation.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the invitation or the folder does not exist for the caller.
    /// - CONFLICT: the status to set is PENDING.
    /// - UNAUTHORIZED: the caller is not its recipient.
    virtual void updateInvitation(InvitationUpdateRequest request,
                                  CompletionHandler<InvitationUpdateResponse> handler) const = 0;

    /// Deletes an invitation and revokes the right it gave.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the invitation does not exist for the caller.
    /// - UNAUTHORIZED: the caller did not send it.
    virtual void deleteInvitation(InvitationDeleteRequest request,
                                  CompletionHandler<InvitationDeleteResponse> handler) const = 0;

    /// Lists the invitations that the caller sent or received and that match the request.
    virtual void listInvitations(InvitationListRequest request,
                                 CompletionHandler<InvitationListResponse> handler) const = 0;

    /// Copies the folder that an invitation offers into a folder of the caller.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the invitation, the folder, the bucket of the target or that part of
    ///   it does not exist for the caller.
    /// - PARENT_RESOURCE_NOT_FOUND: the parent folder does not exist.
    /// - CONFLICT: the target exists or lies within the folder, or the path names a file.
    /// - UNAUTHORIZED: the caller may see the parent folder but not change it.
    /// - QUOTA_EXCEEDED: the storage quota would be exceeded.
    /// - ILLEGAL_PATH: a path, or one that would result below it, breaks the rules for names.
    virtual void copyFolderFromInvitation(
        InvitationCopyFolderRequest request,
        CompletionHandler<InvitationCopyFolderResponse> handler) const = 0;

    /// Lists the folder that an invitation offers, even before it is accepted.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the invitation or the folder does not exist for the caller.
    /// - CONFLICT: the path names a file.
    /// - ILLEGAL_PATH: the path breaks the rules for names.
    virtual void getFolderContentFromInvitation(
        InvitationFolderContentRequest request,
        CompletionHandler<InvitationFolderContentResponse> handler) const = 0;

    /// Reads what an invitation offers, even before it is accepted.
    ///
    /// Errors:
    /// - RESOURCE_NOT_FOUND: the invitation does not exist for the caller.
    virtual void getInvitationDetails(
        InvitationDetailsRequest request,
        CompletionHandler<InvitationDetailsResponse> handler) const = 0;

    // Future forms.

    /// Future form of grantPermission().
    std::future<PermissionGrantResponse> grantPermissionAsync(PermissionGrantRequest request) const;
    /// Future form of revokePermission().
    std::future<PermissionRevokeResponse> revokePermissionAsync(
        PermissionRevokeRequest request) const;
    /// Future form of listPermissions().
    std::future<PermissionListResponse> listPermissionsAsync(PermissionListRequest request) const;
    /// Future form of createInvitation().
    std::future<InvitationCreateResponse> createInvitationAsync(
        InvitationCreateRequest request) const;
    /// Future form of readInvitation().
    std::future<InvitationReadResponse> readInvitationAsync(InvitationReadRequest request) const;
    /// Future form of updateInvitation().
    std::future<InvitationUpdateResponse> updateInvitationAsync(
        InvitationUpdateRequest request) const;
    /// Future form of deleteInvitation().
    std::future<InvitationDeleteResponse> deleteInvitationAsync(
        InvitationDeleteRequest request) const;
    /// Future form of listInvitations().
    std::future<InvitationListResponse> listInvitationsAsync(InvitationListRequest request) const;
    /// Future form of copyFolderFromInvitation().
    std::future<InvitationCopyFolderResponse> copyFolderFromInvitationAsync(
        InvitationCopyFolderRequest request) const;
    /// Future form of getFolderContentFromInvitation().
    std::future<InvitationFolderContentResponse> getFolderContentFromInvitationAsync(
        InvitationFolderContentRequest request) const;
    /// Future form of getInvitationDetails().
    std::future<InvitationDetailsResponse> getInvitationDetailsAsync(
        InvitationDetailsRequest request) const;

    // Blocking forms.

    /// Blocking form of grantPermission().
    PermissionGrantResponse grantPermission(PermissionGrantRequest request) const;
    /// Blocking form of revokePermission().
    PermissionRevokeResponse revokePermission(PermissionRevokeRequest request) const;
    /// Blocking form of listPermissions().
    PermissionListResponse listPermissions(PermissionListRequest request) const;
    /// Blocking form of createInvitation().
    InvitationCreateResponse createInvitation(InvitationCreateRequest request) const;
    /// Blocking form of readInvitation().
    InvitationReadResponse readInvitation(InvitationReadRequest request) const;
    /// Blocking form of updateInvitation().
    InvitationUpdateResponse updateInvitation(InvitationUpdateRequest request) const;
    /// Blocking form of deleteInvitation().
    InvitationDeleteResponse deleteInvitation(InvitationDeleteRequest request) const;
    /// Blocking form of listInvitations().
    InvitationListResponse listInvitations(InvitationListRequest request) const;
    /// Blocking form of copyFolderFromInvitation().
    InvitationCopyFolderResponse copyFolderFromInvitation(
        InvitationCopyFolderRequest request) const;
    /// Blocking form of getFolderContentFromInvitation().
    InvitationFolderContentResponse getFolderContentFromInvitation(
        InvitationFolderContentRequest request) const;
    /// Blocking form of getInvitationDetails().
    InvitationDetailsResponse getInvitationDetails(InvitationDetailsRequest request) const;

private:
    std::string endpoint_;
    std::function<std::string()> sessionIdSupplier_;
    std::string applicationId_;
    std::string clientString_;
    std::string originId_;
    std::string clientType_;
};

}  // namespace storage::kvxclient
