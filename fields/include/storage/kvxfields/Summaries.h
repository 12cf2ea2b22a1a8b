#pragma once

/// @file
/// The fields of the records that requests and responses contain.

#include "storage/kvxclient/Invitations.h"
#include "storage/kvxclient/Resource.h"
#include "storage/kvxclient/Summaries.h"
#include "storage/kvxfields/Field.h"

namespace storage::kvxfields {

/// @cond
KVXFIELDS_LIST(Resource, field<&R::getPath, &R::setPath>("path"),
               field<&R::getBucket, &R::setBucket>("bucket"))
KVXFIELDS_LIST(FileSummary, field<&R::getName, &R::withName>("name"),
               field<&R::getSize, &R::withSize>("size"),
               field<&R::getCreated, &R::withCreated>("created"),
               field<&R::getLastModified, &R::withLastModified>("lastModified"),
               field<&R::getClientLastModified, &R::withClientLastModified>("clientLastModified"),
               field<&R::isWritable, &R::withWritable>("writable"),
               field<&R::getWatermark, &R::withWatermark>("watermark"))
KVXFIELDS_LIST(UserProfile, field<&R::getEmailAddress, &R::withEmailAddress>("emailAddress"),
               field<&R::getFirstName, &R::withFirstName>("firstName"),
               field<&R::getLastName, &R::withLastName>("lastName"),
               field<&R::getUserId, &R::withUserId>("userId"),
               field<&R::getProfileId, &R::withProfileId>("profileId"))
KVXFIELDS_LIST(Invitation,
               field<&R::getInvitationId, &R::withInvitationId, Kind::SECRET>("invitationId"),
               field<&R::getResource, &R::withResource>("resource"),
               field<&R::getAccessType, &R::withAccessType>("accessType"),
               field<&R::getInvitationType, &R::withInvitationType>("invitationType"),
               field<&R::getName, &R::withName>("name"),
               field<&R::getTombstone, &R::withTombstone>("tombstone"),
               field<&R::getInitiator, &R::withInitiator>("initiator"),
               field<&R::getRecipient, &R::withRecipient>("recipient"),
               field<&R::getStatus, &R::withInvitationStatus>("status"),
               field<&R::getCreated, &R::withCreated>("created"),
               field<&R::getLoginValidityDate, &R::withLoginValidityDate>("loginValidityDate"),
               field<&R::getHasActiveLink, &R::withHasActiveLink>("hasActiveLink"),
               field<&R::getApplication, &R::withApplication>("application"))
KVXFIELDS_LIST(FolderSummary, field<&R::getName, &R::withName>("name"),
               field<&R::getCreated, &R::withCreated>("created"),
               field<&R::getLastModified, &R::withLastModified>("lastModified"),
               field<&R::getClientLastModified, &R::withClientLastModified>("clientLastModified"),
               field<&R::isWritable, &R::withWritable>("writable"),
               field<&R::getWatermark, &R::withWatermark>("watermark"),
               field<&R::isSharedFolder, &R::withSharedFolder>("sharedFolder"),
               field<&R::getAccessType, &R::withAccessType>("accessType"),
               field<&R::getInvitation, &R::withInvitation>("invitation"),
               field<&R::getHasActiveLink, &R::withHasActiveLink>("hasActiveLink"))
KVXFIELDS_LIST(FileAttributes, field<&R::getType, &R::withType>("type"),
               field<&R::getName, &R::withName>("name"),
               field<&R::getCreated, &R::withCreated>("created"),
               field<&R::getLastModified, &R::withLastModified>("lastModified"),
               field<&R::getClientLastModified, &R::withClientLastModified>("clientLastModified"),
               field<&R::getSize, &R::withSize>("size"),
               field<&R::getWritable, &R::withWritable>("writable"),
               field<&R::getWatermark, &R::withWatermark>("watermark"),
               field<&R::getShareable, &R::withShareable>("shareable"),
               field<&R::isSharedFolder, &R::withSharedFolder>("sharedFolder"),
               field<&R::getAccessType, &R::withAccessType>("accessType"))
KVXFIELDS_LIST(DeletedFileSummary,
               field<&R::getParentResource, &R::withParentResource>("parentResource"),
               field<&R::getDeletedDate, &R::withDeletedDate>("deletedDate"),
               field<&R::getTombstone, &R::withTombstone>("tombstone"),
               field<&R::getSharedTrash, &R::withSharedTrash>("sharedTrash"))
KVXFIELDS_LIST(DeletedFolderSummary,
               field<&R::getParentResource, &R::withParentResource>("parentResource"),
               field<&R::getDeletedDate, &R::withDeletedDate>("deletedDate"),
               field<&R::getTombstone, &R::withTombstone>("tombstone"),
               field<&R::getSharedTrash, &R::withSharedTrash>("sharedTrash"))
/// @endcond

}  // namespace storage::kvxfields
