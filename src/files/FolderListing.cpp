#include "storage/kvxclient/FolderListing.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

FolderListRequest::FolderListRequest(Resource resource) : resource_(std::move(resource)) {}

Resource FolderListRequest::getResource() const { return resource_; }

FolderListRequest& FolderListRequest::withShowHidden(bool showHidden) {
    showHidden_ = showHidden;
    return *this;
}

bool FolderListRequest::getShowHidden() const { return showHidden_; }

FolderListRequest& FolderListRequest::withShowShared(bool showShared) {
    showShared_ = showShared;
    return *this;
}

bool FolderListRequest::getShowShared() const { return showShared_; }

FolderListRequest& FolderListRequest::withIncludeInvitations(bool includeInvitations) {
    includeInvitations_ = includeInvitations;
    return *this;
}

bool FolderListRequest::getIncludeInvitations() const { return includeInvitations_; }

bool FolderListRequest::operator==(const FolderListRequest& other) const {
    return detail::equal(*this, other, &FolderListRequest::showHidden_,
                         &FolderListRequest::showShared_, &FolderListRequest::includeInvitations_,
                         &FolderListRequest::resource_);
}

MultiFolderListRequest::MultiFolderListRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource MultiFolderListRequest::getResource() const { return resource_; }

MultiFolderListRequest& MultiFolderListRequest::withShowShared(bool showShared) {
    showShared_ = showShared;
    return *this;
}

bool MultiFolderListRequest::getShowShared() const { return showShared_; }

bool MultiFolderListRequest::operator==(const MultiFolderListRequest& other) const {
    return detail::equal(*this, other, &MultiFolderListRequest::showShared_,
                         &MultiFolderListRequest::resource_);
}

FileAttributesReadRequest::FileAttributesReadRequest(Resource resource)
    : resource_(std::move(resource)) {}

Resource FileAttributesReadRequest::getResource() const { return resource_; }

FileAttributesReadRequest& FileAttributesReadRequest::withSharingMetadata(bool sharingMetadata) {
    sharingMetadata_ = sharingMetadata;
    return *this;
}

bool FileAttributesReadRequest::getSharingMetadata() const { return sharingMetadata_; }

bool FileAttributesReadRequest::operator==(const FileAttributesReadRequest& other) const {
    return detail::equal(*this, other, &FileAttributesReadRequest::resource_,
                         &FileAttributesReadRequest::sharingMetadata_);
}

FolderListResponse::FolderListResponse() = default;

FolderListResponse::FolderListResponse(FolderSummary folderSummary)
    : folderSummary_(std::move(folderSummary)) {}

FolderListResponse& FolderListResponse::withFolderSummary(FolderSummary folderSummary) {
    folderSummary_ = std::move(folderSummary);
    return *this;
}

FolderSummary FolderListResponse::getFolderSummary() const { return folderSummary_; }

FolderListResponse& FolderListResponse::withFolders(std::vector<FolderSummary> folders) {
    folders_ = std::move(folders);
    return *this;
}

std::vector<FolderSummary> FolderListResponse::getFolders() const { return folders_; }

FolderListResponse& FolderListResponse::withFiles(std::vector<FileSummary> files) {
    files_ = std::move(files);
    return *this;
}

std::vector<FileSummary> FolderListResponse::getFiles() const { return files_; }

ResourceAndFolderList::ResourceAndFolderList(Resource parentResource)
    : parentResource_(std::move(parentResource)) {}

Resource ResourceAndFolderList::getParentResource() const { return parentResource_; }

ResourceAndFolderList& ResourceAndFolderList::withFolderSummary(FolderSummary folderSummary) {
    folderSummary_ = std::move(folderSummary);
    return *this;
}

FolderSummary ResourceAndFolderList::getFolderSummary() const { return folderSummary_; }

ResourceAndFolderList& ResourceAndFolderList::withFiles(std::vector<FileSummary> files) {
    files_ = std::move(files);
    return *this;
}

std::vector<FileSummary> ResourceAndFolderList::getFiles() const { return files_; }

ResourceAndFolderList& ResourceAndFolderList::withFolders(std::vector<FolderSummary> folders) {
    folders_ = std::move(folders);
    return *this;
}

std::vector<FolderSummary> ResourceAndFolderList::getFolders() const { return folders_; }

bool ResourceAndFolderList::operator<(const ResourceAndFolderList& other) const {
    return parentResource_.path_ < other.parentResource_.path_;
}

MultiFolderListResponse::MultiFolderListResponse() = default;

MultiFolderListResponse& MultiFolderListResponse::withFolders(
    std::set<ResourceAndFolderList> folders) {
    folders_ = std::move(folders);
    return *this;
}

std::set<ResourceAndFolderList> MultiFolderListResponse::getFolders() const { return folders_; }

void MultiFolderListResponse::add(ResourceAndFolderList folder) {
    folders_.insert(std::move(folder));
}

FileAttributesReadResponse::FileAttributesReadResponse() = default;

FileAttributesReadResponse& FileAttributesReadResponse::withFileAttributes(
    FileAttributes fileAttributes) {
    fileAttributes_ = std::move(fileAttributes);
    return *this;
}

FileAttributes FileAttributesReadResponse::getFileAttributes() const { return fileAttributes_; }

bool FileAttributesReadResponse::operator==(const FileAttributesReadResponse& other) const {
    return detail::equal(*this, other, &FileAttributesReadResponse::fileAttributes_);
}

}  // namespace storage::kvxclient
