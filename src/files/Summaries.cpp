#include "storage/kvxclient/Summaries.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

FileSummary::FileSummary() = default;

FileSummary::FileSummary(std::u16string name) : name_(std::move(name)) {}

FileSummary& FileSummary::withName(std::u16string name) {
    name_ = std::move(name);
    return *this;
}

std::u16string FileSummary::getName() const { return name_; }

FileSummary& FileSummary::withSize(unsigned long size) {
    size_ = size;
    return *this;
}

unsigned long FileSummary::getSize() const { return size_; }

FileSummary& FileSummary::withCreated(std::chrono::system_clock::time_point created) {
    created_ = created;
    return *this;
}

std::chrono::system_clock::time_point FileSummary::getCreated() const { return created_; }

FileSummary& FileSummary::withLastModified(std::chrono::system_clock::time_point lastModified) {
    lastModified_ = lastModified;
    return *this;
}

std::chrono::system_clock::time_point FileSummary::getLastModified() const { return lastModified_; }

FileSummary& FileSummary::withClientLastModified(
    std::chrono::system_clock::time_point clientLastModified) {
    clientLastModified_ = clientLastModified;
    return *this;
}

std::chrono::system_clock::time_point FileSummary::getClientLastModified() const {
    return clientLastModified_;
}

FileSummary& FileSummary::withWritable(bool writable) {
    writable_ = writable;
    return *this;
}

bool FileSummary::isWritable() const { return writable_; }

FileSummary& FileSummary::withWatermark(std::string watermark) {
    watermark_ = std::move(watermark);
    return *this;
}

std::string FileSummary::getWatermark() const { return watermark_; }

bool FileSummary::operator==(const FileSummary& other) const {
    return detail::equal(*this, other, &FileSummary::name_, &FileSummary::watermark_,
                         &FileSummary::size_, &FileSummary::created_, &FileSummary::lastModified_,
                         &FileSummary::clientLastModified_, &FileSummary::writable_);
}

FolderSummary::FolderSummary() = default;

FolderSummary::FolderSummary(std::u16string name) : name_(std::move(name)) {}

FolderSummary& FolderSummary::withName(std::u16string name) {
    name_ = std::move(name);
    return *this;
}

std::u16string FolderSummary::getName() const { return name_; }

FolderSummary& FolderSummary::withCreated(std::chrono::system_clock::time_point created) {
    created_ = created;
    return *this;
}

std::chrono::system_clock::time_point FolderSummary::getCreated() const { return created_; }

FolderSummary& FolderSummary::withLastModified(std::chrono::system_clock::time_point lastModified) {
    lastModified_ = lastModified;
    return *this;
}

std::chrono::system_clock::time_point FolderSummary::getLastModified() const {
    return lastModified_;
}

FolderSummary& FolderSummary::withClientLastModified(
    std::chrono::system_clock::time_point clientLastModified) {
    clientLastModified_ = clientLastModified;
    return *this;
}

std::chrono::system_clock::time_point FolderSummary::getClientLastModified() const {
    return clientLastModified_;
}

FolderSummary& FolderSummary::withWritable(bool writable) {
    writable_ = writable;
    return *this;
}

bool FolderSummary::isWritable() const { return writable_; }

FolderSummary& FolderSummary::withWatermark(std::string watermark) {
    watermark_ = std::move(watermark);
    return *this;
}

std::string FolderSummary::getWatermark() const { return watermark_; }

FolderSummary& FolderSummary::withSharedFolder(bool sharedFolder) {
    sharedFolder_ = sharedFolder;
    return *this;
}

bool FolderSummary::isSharedFolder() const { return sharedFolder_; }

FolderSummary& FolderSummary::withAccessType(AccessType accessType) {
    accessType_ = accessType;
    return *this;
}

AccessType FolderSummary::getAccessType() const { return accessType_; }

FolderSummary& FolderSummary::withInvitation(Invitation invitation) {
    invitation_ = std::move(invitation);
    return *this;
}

Invitation FolderSummary::getInvitation() const { return invitation_; }

FolderSummary& FolderSummary::withHasActiveLink(bool hasActiveLink) {
    hasActiveLink_ = hasActiveLink;
    return *this;
}

bool FolderSummary::getHasActiveLink() const { return hasActiveLink_; }

FileAttributes::FileAttributes() = default;

FileAttributes& FileAttributes::withType(std::string type) {
    type_ = std::move(type);
    return *this;
}

std::string FileAttributes::getType() const { return type_; }

FileAttributes& FileAttributes::withName(std::u16string name) {
    name_ = std::move(name);
    return *this;
}

std::u16string FileAttributes::getName() const { return name_; }

FileAttributes& FileAttributes::withCreated(std::chrono::system_clock::time_point created) {
    created_ = created;
    return *this;
}

std::chrono::system_clock::time_point FileAttributes::getCreated() const { return created_; }

FileAttributes& FileAttributes::withLastModified(
    std::chrono::system_clock::time_point lastModified) {
    lastModified_ = lastModified;
    return *this;
}

std::chrono::system_clock::time_point FileAttributes::getLastModified() const {
    return lastModified_;
}

FileAttributes& FileAttributes::withClientLastModified(
    std::chrono::system_clock::time_point clientLastModified) {
    clientLastModified_ = clientLastModified;
    return *this;
}

std::chrono::system_clock::time_point FileAttributes::getClientLastModified() const {
    return clientLastModified_;
}

FileAttributes& FileAttributes::withSize(unsigned long size) {
    size_ = size;
    return *this;
}

unsigned long FileAttributes::getSize() const { return size_; }

FileAttributes& FileAttributes::withWritable(bool writable) {
    writable_ = writable;
    return *this;
}

bool FileAttributes::getWritable() const { return writable_; }

FileAttributes& FileAttributes::withWatermark(std::string watermark) {
    watermark_ = std::move(watermark);
    return *this;
}

std::string FileAttributes::getWatermark() const { return watermark_; }

FileAttributes& FileAttributes::withShareable(bool shareable) {
    shareable_ = shareable;
    return *this;
}

bool FileAttributes::getShareable() const { return shareable_; }

FileAttributes& FileAttributes::withSharedFolder(bool sharedFolder) {
    sharedFolder_ = sharedFolder;
    return *this;
}

bool FileAttributes::isSharedFolder() const { return sharedFolder_; }

FileAttributes& FileAttributes::withAccessType(AccessType accessType) {
    accessType_ = accessType;
    return *this;
}

AccessType FileAttributes::getAccessType() const { return accessType_; }

bool FileAttributes::operator==(const FileAttributes& other) const {
    return detail::equal(
        *this, other, &FileAttributes::type_, &FileAttributes::name_, &FileAttributes::created_,
        &FileAttributes::lastModified_, &FileAttributes::clientLastModified_,
        &FileAttributes::size_, &FileAttributes::writable_, &FileAttributes::watermark_,
        &FileAttributes::shareable_, &FileAttributes::sharedFolder_, &FileAttributes::accessType_);
}

DeletedFileSummary::DeletedFileSummary() = default;

DeletedFileSummary& DeletedFileSummary::withParentResource(Resource parentResource) {
    parentResource_ = std::move(parentResource);
    return *this;
}

Resource DeletedFileSummary::getParentResource() const { return parentResource_; }

DeletedFileSummary& DeletedFileSummary::withDeletedDate(
    std::chrono::system_clock::time_point deletedDate) {
    deletedDate_ = deletedDate;
    return *this;
}

std::chrono::system_clock::time_point DeletedFileSummary::getDeletedDate() const {
    return deletedDate_;
}

DeletedFileSummary& DeletedFileSummary::withTombstone(std::string tombstone) {
    tombstone_ = std::move(tombstone);
    return *this;
}

std::string DeletedFileSummary::getTombstone() const { return tombstone_; }

DeletedFileSummary& DeletedFileSummary::withSharedTrash(bool sharedTrash) {
    sharedTrash_ = sharedTrash;
    return *this;
}

bool DeletedFileSummary::getSharedTrash() const { return sharedTrash_; }

bool DeletedFileSummary::operator==(const DeletedFileSummary& other) const {
    return detail::equal(*this, other, &DeletedFileSummary::parentResource_,
                         &DeletedFileSummary::deletedDate_, &DeletedFileSummary::tombstone_,
                         &DeletedFileSummary::sharedTrash_);
}

DeletedFolderSummary::DeletedFolderSummary() = default;

DeletedFolderSummary& DeletedFolderSummary::withParentResource(Resource parentResource) {
    parentResource_ = std::move(parentResource);
    return *this;
}

Resource DeletedFolderSummary::getParentResource() const { return parentResource_; }

DeletedFolderSummary& DeletedFolderSummary::withDeletedDate(
    std::chrono::system_clock::time_point deletedDate) {
    deletedDate_ = deletedDate;
    return *this;
}

std::chrono::system_clock::time_point DeletedFolderSummary::getDeletedDate() const {
    return deletedDate_;
}

DeletedFolderSummary& DeletedFolderSummary::withTombstone(std::string tombstone) {
    tombstone_ = std::move(tombstone);
    return *this;
}

std::string DeletedFolderSummary::getTombstone() const { return tombstone_; }

DeletedFolderSummary& DeletedFolderSummary::withSharedTrash(bool sharedTrash) {
    sharedTrash_ = sharedTrash;
    return *this;
}

bool DeletedFolderSummary::getSharedTrash() const { return sharedTrash_; }

bool DeletedFolderSummary::operator==(const DeletedFolderSummary& other) const {
    return detail::equal(*this, other, &DeletedFolderSummary::parentResource_,
                         &DeletedFolderSummary::deletedDate_, &DeletedFolderSummary::tombstone_,
                         &DeletedFolderSummary::sharedTrash_);
}

}  // namespace storage::kvxclient
