#include "storage/kvxclient/FileAccess.h"

#include <utility>

#include "core/AsyncCall.h"

namespace storage::kvxclient {

FileAccess::FileAccess(std::string endpoint, std::function<std::string()> sessionIdSupplier,
                       std::string applicationId)
    : endpoint_(std::move(endpoint)),
      sessionIdSupplier_(std::move(sessionIdSupplier)),
      applicationId_(std::move(applicationId)) {}

FileAccess::~FileAccess() = default;

FileAccess& FileAccess::withOriginId(std::string originId) {
    originId_ = std::move(originId);
    return *this;
}

FileAccess& FileAccess::withClientString(std::string clientString) {
    clientString_ = std::move(clientString);
    return *this;
}

FileAccess& FileAccess::withKvxClientType(std::string clientType) {
    clientType_ = std::move(clientType);
    return *this;
}

std::string FileAccess::getEndpoint() const { return endpoint_; }

std::string FileAccess::getApplicationId() const { return applicationId_; }

std::string FileAccess::getOriginId() const { return originId_; }

std::string FileAccess::getClientString() const { return clientString_; }

std::string FileAccess::getClientType() const { return clientType_; }

std::string FileAccess::getSessionId() const { return sessionIdSupplier_(); }

std::future<FileWriteResponse> FileAccess::createFileAsync(FileCreateRequest request) const {
    return detail::callMoving(*this, &FileAccess::createFile, std::move(request));
}

FileWriteResponse FileAccess::createFile(FileCreateRequest request) const {
    return createFileAsync(std::move(request)).get();
}

std::future<FileDeleteResponse> FileAccess::deleteFileAsync(FileDeleteRequest request) const {
    return detail::callMoving(*this, &FileAccess::deleteFile, std::move(request));
}

FileDeleteResponse FileAccess::deleteFile(FileDeleteRequest request) const {
    return deleteFileAsync(std::move(request)).get();
}

std::future<FileDownloadCreateResponse> FileAccess::createFileDownloadAsync(
    FileDownloadCreateRequest request) const {
    return detail::callMoving(*this, &FileAccess::createFileDownload, std::move(request));
}

FileDownloadCreateResponse FileAccess::createFileDownload(FileDownloadCreateRequest request) const {
    return createFileDownloadAsync(std::move(request)).get();
}

std::future<FileDownloadResponse> FileAccess::downloadFileAsync(FileDownloadRequest request) const {
    return detail::callMoving(*this, &FileAccess::downloadFile, std::move(request));
}

FileDownloadResponse FileAccess::downloadFile(FileDownloadRequest request) const {
    return downloadFileAsync(std::move(request)).get();
}

std::future<FolderCreateResponse> FileAccess::createFolderAsync(FolderCreateRequest request) const {
    return detail::callMoving(*this, &FileAccess::createFolder, std::move(request));
}

FolderCreateResponse FileAccess::createFolder(FolderCreateRequest request) const {
    return createFolderAsync(std::move(request)).get();
}

std::future<FolderDeleteResponse> FileAccess::deleteFolderAsync(FolderDeleteRequest request) const {
    return detail::callMoving(*this, &FileAccess::deleteFolder, std::move(request));
}

FolderDeleteResponse FileAccess::deleteFolder(FolderDeleteRequest request) const {
    return deleteFolderAsync(std::move(request)).get();
}

std::future<FileHandleReadOnlyCreateResponse> FileAccess::createReadOnlyFileHandleAsync(
    FileHandleReadOnlyCreateRequest request) const {
    return detail::callMoving(*this, &FileAccess::createReadOnlyFileHandle, std::move(request));
}

FileHandleReadOnlyCreateResponse FileAccess::createReadOnlyFileHandle(
    FileHandleReadOnlyCreateRequest request) const {
    return createReadOnlyFileHandleAsync(std::move(request)).get();
}

std::future<FileHandleReadWriteCreateResponse> FileAccess::createReadWriteFileHandleAsync(
    FileHandleReadWriteCreateRequest request) const {
    return detail::callMoving(*this, &FileAccess::createReadWriteFileHandle, std::move(request));
}

FileHandleReadWriteCreateResponse FileAccess::createReadWriteFileHandle(
    FileHandleReadWriteCreateRequest request) const {
    return createReadWriteFileHandleAsync(std::move(request)).get();
}

std::future<FileReadResponse> FileAccess::readFileAsync(FileReadRequest request) const {
    return detail::callMoving(*this, &FileAccess::readFile, std::move(request));
}

FileReadResponse FileAccess::readFile(FileReadRequest request) const {
    return readFileAsync(std::move(request)).get();
}

std::future<FileContentReadResponse> FileAccess::readFileContentAsync(
    FileContentReadRequest request) const {
    return detail::callMoving(*this, &FileAccess::readFileContent, std::move(request));
}

FileContentReadResponse FileAccess::readFileContent(FileContentReadRequest request) const {
    return readFileContentAsync(std::move(request)).get();
}

std::future<FileContentWriteResponse> FileAccess::writeFileContentAsync(
    FileContentWriteRequest request) const {
    return detail::callMoving(*this, &FileAccess::writeFileContent, std::move(request));
}

FileContentWriteResponse FileAccess::writeFileContent(FileContentWriteRequest request) const {
    return writeFileContentAsync(std::move(request)).get();
}

std::future<FileHandleCloseResponse> FileAccess::closeFileHandleAsync(
    FileHandleCloseRequest request) const {
    return detail::callMoving(*this, &FileAccess::closeFileHandle, std::move(request));
}

FileHandleCloseResponse FileAccess::closeFileHandle(FileHandleCloseRequest request) const {
    return closeFileHandleAsync(std::move(request)).get();
}

std::future<FolderListResponse> FileAccess::listFolderAsync(FolderListRequest request) const {
    return detail::callMoving(*this, &FileAccess::listFolder, std::move(request));
}

FolderListResponse FileAccess::listFolder(FolderListRequest request) const {
    return listFolderAsync(std::move(request)).get();
}

std::future<MultiFolderListResponse> FileAccess::listMultiFolderAsync(
    MultiFolderListRequest request) const {
    return detail::callMoving(*this, &FileAccess::listMultiFolder, std::move(request));
}

MultiFolderListResponse FileAccess::listMultiFolder(MultiFolderListRequest request) const {
    return listMultiFolderAsync(std::move(request)).get();
}

std::future<MoveOrCopyResponse> FileAccess::moveAsync(MoveOrCopyRequest request) const {
    return detail::callMoving(*this, &FileAccess::move, std::move(request));
}

MoveOrCopyResponse FileAccess::move(MoveOrCopyRequest request) const {
    return moveAsync(std::move(request)).get();
}

std::future<MoveOrCopyResponse> FileAccess::copyAsync(MoveOrCopyRequest request) const {
    return detail::callMoving(*this, &FileAccess::copy, std::move(request));
}

MoveOrCopyResponse FileAccess::copy(MoveOrCopyRequest request) const {
    return copyAsync(std::move(request)).get();
}

std::future<FileAttributesReadResponse> FileAccess::readFileAttributesAsync(
    FileAttributesReadRequest request) const {
    return detail::callMoving(*this, &FileAccess::readFileAttributes, std::move(request));
}

FileAttributesReadResponse FileAccess::readFileAttributes(FileAttributesReadRequest request) const {
    return readFileAttributesAsync(std::move(request)).get();
}

std::future<SetMetadataResponse> FileAccess::setMetadataAsync(SetMetadataRequest request) const {
    return detail::callMoving(*this, &FileAccess::setMetadata, std::move(request));
}

SetMetadataResponse FileAccess::setMetadata(SetMetadataRequest request) const {
    return setMetadataAsync(std::move(request)).get();
}

}  // namespace storage::kvxclient
