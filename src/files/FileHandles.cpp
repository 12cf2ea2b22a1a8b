#include "storage/kvxclient/FileHandles.h"

#include <utility>

#include "core/Equality.h"
#include "files/ContentBuffer.h"
#include "storage/kvxclient/BufferSize.h"

namespace storage::kvxclient {

FileHandleReadOnlyCreateRequest::FileHandleReadOnlyCreateRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource FileHandleReadOnlyCreateRequest::getResource() const { return resource_; }

FileHandleReadOnlyCreateRequest& FileHandleReadOnlyCreateRequest::withVersionId(
    std::string versionId) {
    versionId_ = std::move(versionId);
    return *this;
}

std::string FileHandleReadOnlyCreateRequest::getVersionId() const { return versionId_; }

FileHandleReadOnlyCreateRequest& FileHandleReadOnlyCreateRequest::withVersionLabel(
    int versionLabel) {
    versionLabel_ = versionLabel;
    return *this;
}

int FileHandleReadOnlyCreateRequest::getVersionLabel() const { return versionLabel_; }

bool FileHandleReadOnlyCreateRequest::operator==(
    const FileHandleReadOnlyCreateRequest& other) const {
    return detail::equal(*this, other, &FileHandleReadOnlyCreateRequest::resource_,
                         &FileHandleReadOnlyCreateRequest::versionId_,
                         &FileHandleReadOnlyCreateRequest::versionLabel_);
}

FileHandleReadOnlyCreateResponse::FileHandleReadOnlyCreateResponse() = default;

FileHandleReadOnlyCreateResponse& FileHandleReadOnlyCreateResponse::withFileHandleId(
    std::string fileHandleId) {
    fileHandleId_ = std::move(fileHandleId);
    return *this;
}

std::string FileHandleReadOnlyCreateResponse::getFileHandleId() const { return fileHandleId_; }

FileHandleReadOnlyCreateResponse& FileHandleReadOnlyCreateResponse::withFileSize(
    unsigned long fileSize) {
    fileSize_ = fileSize;
    return *this;
}

unsigned long FileHandleReadOnlyCreateResponse::getFileSize() const { return fileSize_; }

bool FileHandleReadOnlyCreateResponse::operator==(
    const FileHandleReadOnlyCreateResponse& other) const {
    return detail::equal(*this, other, &FileHandleReadOnlyCreateResponse::fileSize_,
                         &FileHandleReadOnlyCreateResponse::fileHandleId_);
}

FileHandleReadWriteCreateRequest::FileHandleReadWriteCreateRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource FileHandleReadWriteCreateRequest::getResource() const { return resource_; }

FileHandleReadWriteCreateRequest& FileHandleReadWriteCreateRequest::withCreateMode(
    FileCreateMode createMode) {
    createMode_ = createMode;
    return *this;
}

FileCreateMode FileHandleReadWriteCreateRequest::getCreateMode() const { return createMode_; }

FileHandleReadWriteCreateRequest& FileHandleReadWriteCreateRequest::withTruncate(bool truncate) {
    truncate_ = truncate;
    return *this;
}

bool FileHandleReadWriteCreateRequest::getTruncate() const { return truncate_; }

FileHandleReadWriteCreateRequest& FileHandleReadWriteCreateRequest::withContentType(
    std::string contentType) {
    contentType_ = std::move(contentType);
    return *this;
}

std::string FileHandleReadWriteCreateRequest::getContentType() const { return contentType_; }

bool FileHandleReadWriteCreateRequest::operator==(
    const FileHandleReadWriteCreateRequest& other) const {
    return detail::equal(*this, other, &FileHandleReadWriteCreateRequest::resource_,
                         &FileHandleReadWriteCreateRequest::createMode_,
                         &FileHandleReadWriteCreateRequest::truncate_,
                         &FileHandleReadWriteCreateRequest::contentType_);
}

FileHandleReadWriteCreateResponse::FileHandleReadWriteCreateResponse() = default;

FileHandleReadWriteCreateResponse& FileHandleReadWriteCreateResponse::withFileHandleId(
    std::string fileHandleId) {
    fileHandleId_ = std::move(fileHandleId);
    return *this;
}

std::string FileHandleReadWriteCreateResponse::getFileHandleId() const { return fileHandleId_; }

FileHandleReadWriteCreateResponse& FileHandleReadWriteCreateResponse::withFileCreated(
    bool fileCreated) {
    fileCreated_ = fileCreated;
    return *this;
}

bool FileHandleReadWriteCreateResponse::getFileCreated() const { return fileCreated_; }

FileHandleReadWriteCreateResponse& FileHandleReadWriteCreateResponse::withFileSize(
    unsigned long fileSize) {
    fileSize_ = fileSize;
    return *this;
}

unsigned long FileHandleReadWriteCreateResponse::getFileSize() const { return fileSize_; }

bool FileHandleReadWriteCreateResponse::operator==(
    const FileHandleReadWriteCreateResponse& other) const {
    return detail::equal(*this, other, &FileHandleReadWriteCreateResponse::fileHandleId_,
                         &FileHandleReadWriteCreateResponse::fileCreated_,
                         &FileHandleReadWriteCreateResponse::fileSize_);
}

FileContentReadRequest::FileContentReadRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource FileContentReadRequest::getResource() const { return resource_; }

FileContentReadRequest& FileContentReadRequest::withFileHandleId(std::string fileHandleId) {
    fileHandleId_ = std::move(fileHandleId);
    return *this;
}

std::string FileContentReadRequest::getFileHandleId() const { return fileHandleId_; }

FileContentReadRequest& FileContentReadRequest::withStartLocation(unsigned long startLocation) {
    startLocation_ = startLocation;
    return *this;
}

unsigned long FileContentReadRequest::getStartLocation() const { return startLocation_; }

FileContentReadRequest& FileContentReadRequest::withLength(unsigned long length) {
    length_ = length;
    return *this;
}

unsigned long FileContentReadRequest::getLength() const { return length_; }

bool FileContentReadRequest::operator==(const FileContentReadRequest& other) const {
    return detail::equal(*this, other, &FileContentReadRequest::resource_,
                         &FileContentReadRequest::fileHandleId_,
                         &FileContentReadRequest::startLocation_, &FileContentReadRequest::length_);
}

FileContentReadResponse::FileContentReadResponse() {
    content_.reserve(BufferSize::MAX_READ_BUFFER_SIZE);
}

std::vector<char> FileContentReadResponse::getResponseBody() const { return content_; }

FileContentReadResponse& FileContentReadResponse::withStartLocation(unsigned long startLocation) {
    startLocation_ = startLocation;
    return *this;
}

unsigned long FileContentReadResponse::getStartLocation() const { return startLocation_; }

FileContentReadResponse& FileContentReadResponse::withContentType(std::string contentType) {
    contentType_ = std::move(contentType);
    return *this;
}

std::string FileContentReadResponse::getContentType() const { return contentType_; }

FileContentReadResponse& FileContentReadResponse::withFileSize(unsigned long fileSize) {
    fileSize_ = fileSize;
    return *this;
}

unsigned long FileContentReadResponse::getFileSize() const { return fileSize_; }

unsigned long FileContentReadResponse::getContentLength() const { return content_.size(); }

void FileContentReadResponse::appendContent(const char* data, unsigned long size) {
    detail::appendBytes(content_, data, size);
}

bool FileContentReadResponse::operator==(const FileContentReadResponse& other) const {
    return detail::equal(
        *this, other, &FileContentReadResponse::content_, &FileContentReadResponse::startLocation_,
        &FileContentReadResponse::contentType_, &FileContentReadResponse::fileSize_);
}

FileContentWriteRequest::FileContentWriteRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource FileContentWriteRequest::getResource() const { return resource_; }

FileContentWriteRequest& FileContentWriteRequest::withFileHandleId(std::string fileHandleId) {
    fileHandleId_ = std::move(fileHandleId);
    return *this;
}

std::string FileContentWriteRequest::getFileHandleId() const { return fileHandleId_; }

FileContentWriteRequest& FileContentWriteRequest::withStartLocation(unsigned long startLocation) {
    startLocation_ = startLocation;
    return *this;
}

unsigned long FileContentWriteRequest::getStartLocation() const { return startLocation_; }

const unsigned char* FileContentWriteRequest::getContent() const { return content_; }

unsigned long FileContentWriteRequest::getContentSize() const { return contentSize_; }

FileContentWriteRequest& FileContentWriteRequest::withContent(const unsigned char* data,
                                                              unsigned long size) {
    content_ = data;
    contentSize_ = size;
    return *this;
}

bool FileContentWriteRequest::operator==(const FileContentWriteRequest& other) const {
    return detail::equal(
        *this, other, &FileContentWriteRequest::resource_, &FileContentWriteRequest::fileHandleId_,
        &FileContentWriteRequest::startLocation_, &FileContentWriteRequest::content_,
        &FileContentWriteRequest::contentSize_);
}

FileContentWriteResponse::FileContentWriteResponse() = default;

FileContentWriteResponse& FileContentWriteResponse::withFileSize(unsigned long fileSize) {
    fileSize_ = fileSize;
    return *this;
}

unsigned long FileContentWriteResponse::getFileSize() const { return fileSize_; }

bool FileContentWriteResponse::operator==(const FileContentWriteResponse& other) const {
    return detail::equal(*this, other, &FileContentWriteResponse::fileSize_);
}

FileHandleCloseRequest::FileHandleCloseRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource FileHandleCloseRequest::getResource() const { return resource_; }

FileHandleCloseRequest& FileHandleCloseRequest::withFileHandleId(std::string fileHandleId) {
    fileHandleId_ = std::move(fileHandleId);
    return *this;
}

std::string FileHandleCloseRequest::getFileHandleId() const { return fileHandleId_; }

FileHandleCloseRequest& FileHandleCloseRequest::withOperation(FileHandleCloseOperation operation) {
    operation_ = operation;
    return *this;
}

FileHandleCloseOperation FileHandleCloseRequest::getOperation() const { return operation_; }

FileHandleCloseRequest& FileHandleCloseRequest::withCreateNewVersion(bool createNewVersion) {
    createNewVersion_ = createNewVersion;
    return *this;
}

bool FileHandleCloseRequest::getCreateNewVersion() const { return createNewVersion_; }

bool FileHandleCloseRequest::operator==(const FileHandleCloseRequest& other) const {
    return detail::equal(
        *this, other, &FileHandleCloseRequest::resource_, &FileHandleCloseRequest::fileHandleId_,
        &FileHandleCloseRequest::operation_, &FileHandleCloseRequest::createNewVersion_);
}

FileHandleCloseResponse::FileHandleCloseResponse() = default;

}  // namespace storage::kvxclient
