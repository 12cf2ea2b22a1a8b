#pragma once

/// @file
/// The fields of the records for permissions and invitations.

#include "storage/kvxclient/InvitationFolderContent.h"
#include "storage/kvxclient/Invitations.h"
#include "storage/kvxclient/Permissions.h"
#include "storage/kvxfields/Field.h"

namespace storage::kvxfields {

/// @cond
KVXFIELDS_LIST(Subject, field<&R::getSubjectName, &R::withSubjectName>("subjectName"))
KVXFIELDS_LIST(Permission, field<&R::getPermissionId, &R::withPermissionId>("permissionId"),
               field<&R::getSubject, &R::withSubject>("subject"),
               field<&R::getResource, &R::withResource>("resource"),
               field<&R::getOperation, &R::withOperation>("operation"),
               field<&R::getStatus, &R::withStatus>("status"))
KVXFIELDS_LIST(
    PermissionGrantRequest, argument<&R::getResource>("resource"),
    field<&R::getSubject, &R::withSubject>("subject"),
    field<&R::getOperation, &R::withOperation>("operation"),
    field<&R::getAllowNonExistingUser, &R::withAllowNonExistingUser>("allowNonExistingUser"))
KVXFIELDS_LIST(PermissionGrantResponse,
               field<&R::getPermissionId, &R::withPermissionId>("permissionId"))
KVXFIELDS_LIST(PermissionRevokeRequest, argument<&R::getResource>("resource"),
               field<&R::getPermissionId, &R::withPermissionId>("permissionId"))
KVXFIELDS_LIST(PermissionRevokeResponse, )
KVXFIELDS_LIST(PermissionListRequest, argument<&R::getResource>("resource"))
KVXFIELDS_LIST(PermissionListResponse,
               field<&R::getPermissions, &R::withPermissions>("permissions"))
KVXFIELDS_LIST(InvitationCreateRequest, argument<&R::getResource>("resource"),
               field<&R::getRecipient, &R::withRecipient>("recipient"),
               field<&R::getAccessType, &R::withAccessType>("accessType"))
KVXFIELDS_LIST(InvitationReadRequest,
               field<&R::getInvitationId, &R::withInvitationId, Kind::SECRET>("invitationId"))
KVXFIELDS_LIST(InvitationUpdateRequest, field<&R::getResource, &R::withResource>("resource"),
               field<&R::getInvitationId, &R::withInvitationId, Kind::SECRET>("invitationId"),
               field<&R::getStatus, &R::withStatus>("status"))
KVXFIELDS_LIST(InvitationDeleteRequest, field<&R::getResource, &R::withResource>("resource"),
               field<&R::getInvitationId, &R::withInvitationId, Kind::SECRET>("invitationId"))
KVXFIELDS_LIST(InvitationListRequest, field<&R::getResource, &R::withResource>("resource"),
               field<&R::getStatus, &R::withStatus>("status"),
               field<&R::getType, &R::withType>("type"))
KVXFIELDS_LIST(InvitationCopyFolderRequest, field<&R::getResource, &R::withResource>("resource"),
               field<&R::getTargetResource, &R::withTargetResource>("targetResource"),
               field<&R::getInvitationId, &R::withInvitationId, Kind::SECRET>("invitationId"))
KVXFIELDS_LIST(InvitationDetailsRequest,
               field<&R::getInvitationId, &R::withInvitationId, Kind::SECRET>("invitationId"))
KVXFIELDS_LIST(InvitationCreateResponse, field<&R::getInvitation, &R::withInvitation>("invitation"))
KVXFIELDS_LIST(InvitationReadResponse, field<&R::getInvitation, &R::withInvitation>("invitation"))
KVXFIELDS_LIST(InvitationUpdateResponse, field<&R::getInvitation, &R::withInvitation>("invitation"))
KVXFIELDS_LIST(InvitationDetailsResponse,
               field<&R::getInvitationDetails, &R::withInvitation>("invitationDetails"))
KVXFIELDS_LIST(InvitationListResponse,
               field<&R::getInvitations, &R::withInvitations>("invitations"))
KVXFIELDS_LIST(InvitationDeleteResponse, )
KVXFIELDS_LIST(InvitationCopyFolderResponse, )
KVXFIELDS_LIST(InvitationFolderContentRequest, field<&R::getResource, &R::withResource>("resource"),
               field<&R::getInvitationId, &R::withInvitationId, Kind::SECRET>("invitationId"),
               field<&R::showHidden, &R::withShowHidden>("showHidden"))
KVXFIELDS_LIST(InvitationFolderContentResponse,
               field<&R::getFolderSummary, &R::withFolderSummary>("folderSummary"),
               field<&R::getFolders, &R::withFolders>("folders"),
               field<&R::getFiles, &R::withFiles>("files"))
/// @endcond

}  // namespace storage::kvxfields
