#include "storage/kvxclient/FileTransfer.h"

#include <utility>

#include "core/Equality.h"
#include "files/ContentBuffer.h"

namespace storage::kvxclient {

FileCreateRequest::FileCreateRequest(Resource resource) : resource_(std::move(resource)) {}

Resource FileCreateRequest::getResource() const { return resource_; }

const std::vector<char>& FileCreateRequest::getContent() const { return content_; }

FileCreateRequest& FileCreateRequest::withContentType(std::string contentType) {
    contentType_ = std::move(contentType);
    return *this;
}

std::string FileCreateRequest::getContentType() const { return contentType_; }

FileCreateRequest& FileCreateRequest::withCreateNewVersion(bool createNewVersion) {
    createNewVersion_ = createNewVersion;
    return *this;
}

bool FileCreateRequest::getCreateNewVersion() const { return createNewVersion_; }

void FileCreateRequest::appendContent(const char* data, unsigned long size) {
    detail::appendBytes(content_, data, size);
}

bool FileCreateRequest::operator==(const FileCreateRequest& other) const {
    return detail::equal(*this, other, &FileCreateRequest::resource_, &FileCreateRequest::content_,
                         &FileCreateRequest::contentType_, &FileCreateRequest::createNewVersion_);
}

FileReadRequest::FileReadRequest(Resource resource) : resource_(std::move(resource)) {}

Resource FileReadRequest::getResource() const { return resource_; }

FileReadRequest& FileReadRequest::withVersionId(std::string versionId) {
    versionId_ = std::move(versionId);
    return *this;
}

std::string FileReadRequest::getVersionId() const { return versionId_; }

FileReadRequest& FileReadRequest::withVersionLabel(int versionLabel) {
    versionLabel_ = versionLabel;
    return *this;
}

int FileReadRequest::getVersionLabel() const { return versionLabel_; }

bool FileReadRequest::operator==(const FileReadRequest& other) const {
    return detail::equal(*this, other, &FileReadRequest::resource_, &FileReadRequest::versionId_,
                         &FileReadRequest::versionLabel_);
}

FileReadResponse::FileReadResponse() = default;

Resource FileReadResponse::getResource() const { return resource_; }

std::vector<char> FileReadResponse::getResponseBody() const { return content_; }

FileReadResponse& FileReadResponse::withContentType(std::string contentType) {
    contentType_ = std::move(contentType);
    return *this;
}

std::string FileReadResponse::getContentType() const { return contentType_; }

unsigned long FileReadResponse::getContentLength() const { return content_.size(); }

void FileReadResponse::appendContent(const char* data, unsigned long size) {
    detail::appendBytes(content_, data, size);
}

bool FileReadResponse::operator==(const FileReadResponse& other) const {
    return detail::equal(*this, other, &FileReadResponse::content_,
                         &FileReadResponse::contentType_);
}

FileWriteResponse::FileWriteResponse() = default;

FileWriteResponse& FileWriteResponse::withFileSummary(FileSummary fileSummary) {
    fileSummary_ = std::move(fileSummary);
    return *this;
}

FileSummary FileWriteResponse::getFileSummary() const { return fileSummary_; }

FileWriteResponse& FileWriteResponse::withVersionId(std::string versionId) {
    versionId_ = std::move(versionId);
    return *this;
}

std::string FileWriteResponse::getVersionId() const { return versionId_; }

FileWriteResponse& FileWriteResponse::withVersionLabel(int versionLabel) {
    versionLabel_ = versionLabel;
    return *this;
}

int FileWriteResponse::getVersionLabel() const { return versionLabel_; }

bool FileWriteResponse::operator==(const FileWriteResponse& other) const {
    return detail::equal(*this, other, &FileWriteResponse::fileSummary_,
                         &FileWriteResponse::versionId_, &FileWriteResponse::versionLabel_);
}

FileDownloadCreateRequest::FileDownloadCreateRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource FileDownloadCreateRequest::getResource() const { return resource_; }

bool FileDownloadCreateRequest::operator==(const FileDownloadCreateRequest& other) const {
    return detail::equal(*this, other, &FileDownloadCreateRequest::resource_);
}

FileDownloadCreateResponse::FileDownloadCreateResponse() = default;

FileDownloadCreateResponse& FileDownloadCreateResponse::withLocation(std::string location) {
    location_ = std::move(location);
    return *this;
}

std::string FileDownloadCreateResponse::getLocation() const { return location_; }

bool FileDownloadCreateResponse::operator==(const FileDownloadCreateResponse& other) const {
    return detail::equal(*this, other, &FileDownloadCreateResponse::location_);
}

FileDownloadRequest::FileDownloadRequest(std::string location) : location_(std::move(location)) {}

std::string FileDownloadRequest::getLocation() const { return location_; }

FileDownloadRequest& FileDownloadRequest::withStreamFactory(
    std::function<std::unique_ptr<std::iostream>()> streamFactory) {
    streamFactory_ = std::move(streamFactory);
    return *this;
}

std::function<std::unique_ptr<std::iostream>()> FileDownloadRequest::getStreamFactory() const {
    return streamFactory_;
}

FileDownloadRequest& FileDownloadRequest::withReadIntoString(bool readIntoString) {
    readIntoString_ = readIntoString;
    return *this;
}

bool FileDownloadRequest::getReadIntoString() const { return readIntoString_; }

std::string FileDownloadRequest::getLocationFilename() const {
    const auto slash = location_.rfind('/');
    return slash == std::string::npos ? location_ : location_.substr(slash);
}

bool FileDownloadRequest::operator==(const FileDownloadRequest& other) const {
    return detail::equal(*this, other, &FileDownloadRequest::location_,
                         &FileDownloadRequest::readIntoString_);
}

FileDownloadResponse::FileDownloadResponse() = default;

FileDownloadResponse& FileDownloadResponse::withStringBody(std::string stringBody) {
    stringBody_ = std::move(stringBody);
    return *this;
}

std::string FileDownloadResponse::getStringBody() const { return stringBody_; }

bool FileDownloadResponse::operator==(const FileDownloadResponse& other) const {
    return detail::equal(*this, other, &FileDownloadResponse::stringBody_);
}

}  // namespace storage::kvxclient
