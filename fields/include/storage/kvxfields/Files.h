#pragma once

/// @file
/// The fields of the records for whole files.

#include "storage/kvxclient/FileTransfer.h"
#include "storage/kvxclient/Metadata.h"
#include "storage/kvxfields/Field.h"

namespace storage::kvxfields {

/// @cond
KVXFIELDS_LIST(FileCreateRequest, argument<&R::getResource>("resource"),
               content<&R::getContent, nullptr, &R::appendContent>("content"),
               field<&R::getContentType, &R::withContentType>("contentType"),
               field<&R::getCreateNewVersion, &R::withCreateNewVersion>("createNewVersion"))
KVXFIELDS_LIST(FileReadRequest, argument<&R::getResource>("resource"),
               field<&R::getVersionId, &R::withVersionId>("versionId"),
               field<&R::getVersionLabel, &R::withVersionLabel>("versionLabel"))
KVXFIELDS_LIST(
    FileReadResponse,
    content<&R::getResponseBody, &R::getContentLength, &R::appendContent>("responseBody"),
    field<&R::getContentType, &R::withContentType>("contentType"))
KVXFIELDS_LIST(FileWriteResponse, field<&R::getFileSummary, &R::withFileSummary>("fileSummary"),
               field<&R::getVersionId, &R::withVersionId>("versionId"),
               field<&R::getVersionLabel, &R::withVersionLabel>("versionLabel"))
KVXFIELDS_LIST(FileDownloadCreateRequest, argument<&R::getResource>("resource"))
KVXFIELDS_LIST(FileDownloadCreateResponse,
               field<&R::getLocation, &R::withLocation, Kind::SECRET>("location"))
KVXFIELDS_LIST(FileDownloadRequest, argument<&R::getLocation, Kind::SECRET>("location"),
               field<&R::getStreamFactory, &R::withStreamFactory, Kind::LOCAL>("streamFactory"),
               field<&R::getReadIntoString, &R::withReadIntoString>("readIntoString"))
KVXFIELDS_LIST(FileDownloadResponse,
               content<&R::getStringBody, nullptr, &R::withStringBody>("stringBody"))
KVXFIELDS_LIST(SetMetadataRequest, argument<&R::getResource>("resource"),
               field<&R::getClientLastModified, &R::withClientLastModified>("clientLastModified"))
KVXFIELDS_LIST(SetMetadataResponse, )
/// @endcond

}  // namespace storage::kvxfields
