#pragma once

/// @file
/// The fields of the records for folders, moving and deleting.

#include "storage/kvxclient/FolderListing.h"
#include "storage/kvxclient/NamespaceChanges.h"
#include "storage/kvxfields/Field.h"

namespace storage::kvxfields {

/// @cond
KVXFIELDS_LIST(FolderListRequest, argument<&R::getResource>("resource"),
               field<&R::getShowHidden, &R::withShowHidden>("showHidden"),
               field<&R::getShowShared, &R::withShowShared>("showShared"),
               field<&R::getIncludeInvitations, &R::withIncludeInvitations>("includeInvitations"))
KVXFIELDS_LIST(MultiFolderListRequest, argument<&R::getResource>("resource"),
               field<&R::getShowShared, &R::withShowShared>("showShared"))
KVXFIELDS_LIST(FileAttributesReadRequest, argument<&R::getResource>("resource"),
               field<&R::getSharingMetadata, &R::withSharingMetadata>("sharingMetadata"))
KVXFIELDS_LIST(FolderListResponse,
               field<&R::getFolderSummary, &R::withFolderSummary>("folderSummary"),
               field<&R::getFolders, &R::withFolders>("folders"),
               field<&R::getFiles, &R::withFiles>("files"))
KVXFIELDS_LIST(ResourceAndFolderList, argument<&R::getParentResource>("parentResource"),
               field<&R::getFolderSummary, &R::withFolderSummary>("folderSummary"),
               field<&R::getFiles, &R::withFiles>("files"),
               field<&R::getFolders, &R::withFolders>("folders"))
KVXFIELDS_LIST(MultiFolderListResponse, field<&R::getFolders, &R::withFolders>("folders"))
KVXFIELDS_LIST(FileAttributesReadResponse,
               field<&R::getFileAttributes, &R::withFileAttributes>("fileAttributes"))
KVXFIELDS_LIST(FolderCreateRequest, argument<&R::getResource>("resource"))
KVXFIELDS_LIST(FolderCreateResponse, )
KVXFIELDS_LIST(FolderDeleteRequest, argument<&R::getResource>("resource"),
               field<&R::getForceRecursive, &R::withForceRecursive>("forceRecursive"))
KVXFIELDS_LIST(
    FolderDeleteResponse,
    field<&R::getDeletedFolderSummary, &R::withDeletedFolderSummary>("deletedFolderSummary"))
KVXFIELDS_LIST(FileDeleteRequest, argument<&R::getResource>("resource"))
KVXFIELDS_LIST(FileDeleteResponse,
               field<&R::getDeletedFileSummary, &R::withDeletedFileSummary>("deletedFileSummary"))
KVXFIELDS_LIST(MoveOrCopyRequest, argument<&R::getSource>("source"),
               argument<&R::getTarget>("target"),
               field<&R::getTargetOverwrite, &R::withTargetOverwrite>("targetOverwrite"))
KVXFIELDS_LIST(MoveOrCopyResponse, )
/// @endcond

}  // namespace storage::kvxfields
