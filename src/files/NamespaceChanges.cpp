#include "storage/kvxclient/NamespaceChanges.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

FolderCreateRequest::FolderCreateRequest(Resource resource) : resource_(std::move(resource)) {}

Resource FolderCreateRequest::getResource() const { return resource_; }

bool FolderCreateRequest::operator==(const FolderCreateRequest& other) const {
    return detail::equal(*this, other, &FolderCreateRequest::resource_);
}

FolderCreateResponse::FolderCreateResponse() = default;

bool FolderCreateResponse::operator==(const FolderCreateResponse& other) const {
    return this == &other;
}

FolderDeleteRequest::FolderDeleteRequest(Resource resource) : resource_(std::move(resource)) {}

Resource FolderDeleteRequest::getResource() const { return resource_; }

FolderDeleteRequest& FolderDeleteRequest::withForceRecursive(bool forceRecursive) {
    forceRecursive_ = forceRecursive;
    return *this;
}

bool FolderDeleteRequest::getForceRecursive() const { return forceRecursive_; }

bool FolderDeleteRequest::operator==(const FolderDeleteRequest& other) const {
    return detail::equal(*this, other, &FolderDeleteRequest::resource_,
                         &FolderDeleteRequest::forceRecursive_);
}

FolderDeleteResponse::FolderDeleteResponse() = default;

FolderDeleteResponse& FolderDeleteResponse::withDeletedFolderSummary(
    DeletedFolderSummary deletedFolderSummary) {
    deletedFolderSummary_ = std::move(deletedFolderSummary);
    return *this;
}

std::optional<DeletedFolderSummary> FolderDeleteResponse::getDeletedFolderSummary() const {
    return deletedFolderSummary_;
}

bool FolderDeleteResponse::operator==(const FolderDeleteResponse& other) const {
    return detail::equal(*this, other, &FolderDeleteResponse::deletedFolderSummary_);
}

FileDeleteRequest::FileDeleteRequest(Resource resource) : resource_(std::move(resource)) {}

Resource FileDeleteRequest::getResource() const { return resource_; }

bool FileDeleteRequest::operator==(const FileDeleteRequest& other) const {
    return detail::equal(*this, other, &FileDeleteRequest::resource_);
}

FileDeleteResponse::FileDeleteResponse() = default;

FileDeleteResponse& FileDeleteResponse::withDeletedFileSummary(
    DeletedFileSummary deletedFileSummary) {
    deletedFileSummary_ = std::move(deletedFileSummary);
    return *this;
}

std::optional<DeletedFileSummary> FileDeleteResponse::getDeletedFileSummary() const {
    return deletedFileSummary_;
}

bool FileDeleteResponse::operator==(const FileDeleteResponse& other) const {
    return detail::equal(*this, other, &FileDeleteResponse::deletedFileSummary_);
}

MoveOrCopyRequest::MoveOrCopyRequest(Resource source, Resource target)
    : source_(std::move(source)), target_(std::move(target)) {}

Resource MoveOrCopyRequest::getSource() const { return source_; }

Resource MoveOrCopyRequest::getTarget() const { return target_; }

MoveOrCopyRequest& MoveOrCopyRequest::withTargetOverwrite(bool targetOverwrite) {
    targetOverwrite_ = targetOverwrite;
    return *this;
}

bool MoveOrCopyRequest::getTargetOverwrite() const { return targetOverwrite_; }

bool MoveOrCopyRequest::operator==(const MoveOrCopyRequest& other) const {
    return detail::equal(*this, other, &MoveOrCopyRequest::source_, &MoveOrCopyRequest::target_,
                         &MoveOrCopyRequest::targetOverwrite_);
}

MoveOrCopyResponse::MoveOrCopyResponse() = default;

bool MoveOrCopyResponse::operator==(const MoveOrCopyResponse& other) const {
    return this == &other;
}

}  // namespace storage::kvxclient
