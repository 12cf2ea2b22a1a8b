#include "storage/kvxclient/ChangeList.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

FileChangeListRequest::FileChangeListRequest() = default;

FileChangeListRequest& FileChangeListRequest::withWatermark(std::string watermark) {
    watermark_ = std::move(watermark);
    return *this;
}

std::string FileChangeListRequest::getWatermark() const { return watermark_; }

bool FileChangeListRequest::operator==(const FileChangeListRequest& other) const {
    return detail::equal(*this, other, &FileChangeListRequest::watermark_);
}

FileChangeSummary::FileChangeSummary() = default;

FileChangeSummary& FileChangeSummary::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource FileChangeSummary::getResource() const { return resource_; }

FileChangeSummary& FileChangeSummary::withWatermark(std::string watermark) {
    watermark_ = std::move(watermark);
    return *this;
}

std::string FileChangeSummary::getWatermark() const { return watermark_; }

bool FileChangeSummary::operator==(const FileChangeSummary& other) const {
    return detail::equal(*this, other, &FileChangeSummary::resource_,
                         &FileChangeSummary::watermark_);
}

FileChangeListResponse::FileChangeListResponse() = default;

FileChangeListResponse& FileChangeListResponse::withCurrentWatermark(std::string currentWatermark) {
    currentWatermark_ = std::move(currentWatermark);
    return *this;
}

std::string FileChangeListResponse::getCurrentWatermark() const { return currentWatermark_; }

FileChangeListResponse& FileChangeListResponse::withFileChanges(
    std::vector<FileChangeSummary> fileChanges) {
    fileChanges_ = std::move(fileChanges);
    return *this;
}

std::vector<FileChangeSummary> FileChangeListResponse::getFileChanges() const {
    return fileChanges_;
}

FileChangeListResponse& FileChangeListResponse::withFolderChanges(
    std::vector<FileChangeSummary> folderChanges) {
    folderChanges_ = std::move(folderChanges);
    return *this;
}

std::vector<FileChangeSummary> FileChangeListResponse::getFolderChanges() const {
    return folderChanges_;
}

bool FileChangeListResponse::operator==(const FileChangeListResponse& other) const {
    return detail::equal(*this, other, &FileChangeListResponse::currentWatermark_,
                         &FileChangeListResponse::fileChanges_,
                         &FileChangeListResponse::folderChanges_);
}

}  // namespace storage::kvxclient
