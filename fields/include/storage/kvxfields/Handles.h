#pragma once

/// @file
/// The fields of the records for handles and ranges.

#include "storage/kvxclient/FileHandles.h"
#include "storage/kvxfields/Field.h"

namespace storage::kvxfields {

/// @cond
KVXFIELDS_LIST(FileHandleReadOnlyCreateRequest, argument<&R::getResource>("resource"),
               field<&R::getVersionId, &R::withVersionId>("versionId"),
               field<&R::getVersionLabel, &R::withVersionLabel>("versionLabel"))
KVXFIELDS_LIST(FileHandleReadOnlyCreateResponse,
               field<&R::getFileHandleId, &R::withFileHandleId>("fileHandleId"),
               field<&R::getFileSize, &R::withFileSize>("fileSize"))
KVXFIELDS_LIST(FileHandleReadWriteCreateRequest, argument<&R::getResource>("resource"),
               field<&R::getCreateMode, &R::withCreateMode>("createMode"),
               field<&R::getTruncate, &R::withTruncate>("truncate"),
               field<&R::getContentType, &R::withContentType>("contentType"))
KVXFIELDS_LIST(FileHandleReadWriteCreateResponse,
               field<&R::getFileHandleId, &R::withFileHandleId>("fileHandleId"),
               field<&R::getFileCreated, &R::withFileCreated>("fileCreated"),
               field<&R::getFileSize, &R::withFileSize>("fileSize"))
KVXFIELDS_LIST(FileContentReadRequest, argument<&R::getResource>("resource"),
               field<&R::getFileHandleId, &R::withFileHandleId>("fileHandleId"),
               field<&R::getStartLocation, &R::withStartLocation>("startLocation"),
               field<&R::getLength, &R::withLength>("length"))
KVXFIELDS_LIST(
    FileContentReadResponse,
    content<&R::getResponseBody, &R::getContentLength, &R::appendContent>("responseBody"),
    field<&R::getStartLocation, &R::withStartLocation>("startLocation"),
    field<&R::getContentType, &R::withContentType>("contentType"),
    field<&R::getFileSize, &R::withFileSize>("fileSize"))
KVXFIELDS_LIST(FileContentWriteRequest, argument<&R::getResource>("resource"),
               field<&R::getFileHandleId, &R::withFileHandleId>("fileHandleId"),
               field<&R::getStartLocation, &R::withStartLocation>("startLocation"),
               content<&R::getContent, &R::getContentSize, &R::withContent>("content"))
KVXFIELDS_LIST(FileContentWriteResponse, field<&R::getFileSize, &R::withFileSize>("fileSize"))
KVXFIELDS_LIST(FileHandleCloseRequest, argument<&R::getResource>("resource"),
               field<&R::getFileHandleId, &R::withFileHandleId>("fileHandleId"),
               field<&R::getOperation, &R::withOperation>("operation"),
               field<&R::getCreateNewVersion, &R::withCreateNewVersion>("createNewVersion"))
KVXFIELDS_LIST(FileHandleCloseResponse, )
/// @endcond

}  // namespace storage::kvxfields
