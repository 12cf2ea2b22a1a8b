#pragma once

/// @file
/// The fields of the records for changes and versions.

#include "storage/kvxclient/ChangeList.h"
#include "storage/kvxclient/Versions.h"
#include "storage/kvxfields/Field.h"

namespace storage::kvxfields {

/// @cond
KVXFIELDS_LIST(FileChangeListRequest, field<&R::getWatermark, &R::withWatermark>("watermark"))
KVXFIELDS_LIST(FileChangeSummary, field<&R::getResource, &R::withResource>("resource"),
               field<&R::getWatermark, &R::withWatermark>("watermark"))
KVXFIELDS_LIST(FileChangeListResponse,
               field<&R::getCurrentWatermark, &R::withCurrentWatermark>("currentWatermark"),
               field<&R::getFileChanges, &R::withFileChanges>("fileChanges"),
               field<&R::getFolderChanges, &R::withFolderChanges>("folderChanges"))
KVXFIELDS_LIST(VersionListRequest, argument<&R::getResource>("resource"))
KVXFIELDS_LIST(VersionSummary, field<&R::getVersionId, &R::withVersionId>("versionId"),
               field<&R::getCreated, &R::withCreated>("created"),
               field<&R::getVersionLabel, &R::withVersionLabel>("versionLabel"))
KVXFIELDS_LIST(VersionListResponse, field<&R::getName, &R::withName>("name"),
               field<&R::getVersions, &R::withVersions>("versions"))
KVXFIELDS_LIST(VersionRestoreRequest, argument<&R::getResource>("resource"),
               field<&R::getVersionId, &R::withVersionId>("versionId"),
               field<&R::getVersionLabel, &R::withVersionLabel>("versionLabel"),
               field<&R::getCreateNewVersion, &R::withCreateNewVersion>("createNewVersion"))
KVXFIELDS_LIST(VersionRestoreResponse, field<&R::getVersionId, &R::withVersionId>("versionId"),
               field<&R::getVersionLabel, &R::withVersionLabel>("versionLabel"))
/// @endcond

}  // namespace storage::kvxfields
