#pragma once

/// @file
/// How the service describes a file or folder, present or deleted.

#include <chrono>
#include <string>

#include "storage/kvxclient/Enumerations.h"
#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Invitations.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxclient {

/// One file, as a folder listing or a write reports it.
class KVXCLIENT_EXPORT FileSummary {
public:
    /// Makes a record with every field at its default.
    FileSummary();
    /// Makes a record with the name of the file within its folder; every other field has its
    /// default.
    FileSummary(std::u16string name);

    /// Sets the name of the file within its folder.
    FileSummary& withName(std::u16string name);
    /// Returns the name of the file within its folder. Default: empty.
    std::u16string getName() const;

    /// Sets the size of the file in bytes.
    FileSummary& withSize(unsigned long size);
    /// Returns the size of the file in bytes. Default: 0.
    unsigned long getSize() const;

    /// Sets when the item was created.
    FileSummary& withCreated(std::chrono::system_clock::time_point created);
    /// Returns when the item was created. Default: the epoch.
    std::chrono::system_clock::time_point getCreated() const;

    /// Sets when the item was last modified, by the service's clock.
    FileSummary& withLastModified(std::chrono::system_clock::time_point lastModified);
    /// Returns when the item was last modified, by the service's clock. Default: the epoch.
    std::chrono::system_clock::time_point getLastModified() const;

    /// Sets when the item was last modified, as a client reported it.
    FileSummary& withClientLastModified(std::chrono::system_clock::time_point clientLastModified);
    /// Returns when the item was last modified, as a client reported it. Default: the epoch.
    std::chrono::system_clock::time_point getClientLastModified() const;

    /// Sets whether the caller may change the file.
    FileSummary& withWritable(bool writable);
    /// Returns whether the caller may change the file. Default: false.
    bool isWritable() const;

    /// Sets the service's change marker of the item.
    FileSummary& withWatermark(std::string watermark);
    /// Returns the service's change marker of the item. Default: empty.
    std::string getWatermark() const;

    /// Compares name, watermark, size, created, lastModified, clientLastModified and writable.
    bool operator==(const FileSummary& other) const;

private:
    std::u16string name_;
    unsigned long size_ = 0;
    std::chrono::system_clock::time_point created_;
    std::chrono::system_clock::time_point lastModified_;
    std::chrono::system_clock::time_point clientLastModified_;
    bool writable_ = false;
    std::string watermark_;
};

/// One folder, with its sharing state and the invitation that shares it.
///
/// Has no equality, and neither has any record that holds one: compare the fields that matter.
class KVXCLIENT_EXPORT FolderSummary {
public:
    /// Makes a record with the defaults of the fields that have one.
    FolderSummary();
    /// Makes a record with the name of the folder within its parent; the other fields are as in
    /// FolderSummary().
    FolderSummary(std::u16string name);

    /// Sets the name of the folder within its parent.
    FolderSummary& withName(std::u16string name);
    /// Returns the name of the folder within its parent. Default: empty.
    std::u16string getName() const;

    /// Sets when the item was created.
    FolderSummary& withCreated(std::chrono::system_clock::time_point created);
    /// Returns when the item was created. Default: the epoch.
    std::chrono::system_clock::time_point getCreated() const;

    /// Sets when the item was last modified, by the service's clock.
    FolderSummary& withLastModified(std::chrono::system_clock::time_point lastModified);
    /// Returns when the item was last modified, by the service's clock. Default: the epoch.
    std::chrono::system_clock::time_point getLastModified() const;

    /// Sets when the item was last modified, as a client reported it.
    FolderSummary& withClientLastModified(std::chrono::system_clock::time_point clientLastModified);
    /// Returns when the item was last modified, as a client reported it. Default: the epoch.
    std::chrono::system_clock::time_point getClientLastModified() const;

    /// Sets whether the caller may change the folder.
    FolderSummary& withWritable(bool writable);
    /// Returns whether the caller may change the folder. Default: false.
    bool isWritable() const;

    /// Sets the service's change marker of the item.
    FolderSummary& withWatermark(std::string watermark);
    /// Returns the service's change marker of the item. Default: empty.
    std::string getWatermark() const;

    /// Sets whether the folder is shared with or by the caller.
    FolderSummary& withSharedFolder(bool sharedFolder);
    /// Returns whether the folder is shared with or by the caller. Default: false.
    bool isSharedFolder() const;

    /// Sets the caller's right on the folder.
    FolderSummary& withAccessType(AccessType accessType);
    /// Returns the caller's right on the folder. No default: set it before use.
    AccessType getAccessType() const;

    /// Sets the invitation that shares the folder, and nothing else: sharedFolder, accessType and
    /// hasActiveLink of the folder are its own.
    FolderSummary& withInvitation(Invitation invitation);
    /// Returns the invitation that shares the folder. Default: a default Invitation. A folder that
    /// is not shared carries a default one.
    Invitation getInvitation() const;

    /// Sets whether a link to the folder is active.
    FolderSummary& withHasActiveLink(bool hasActiveLink);
    /// Returns whether a link to the folder is active. Default: false. Independent of the field of
    /// that name in the invitation.
    bool getHasActiveLink() const;

private:
    std::u16string name_;
    std::chrono::system_clock::time_point created_;
    std::chrono::system_clock::time_point lastModified_;
    std::chrono::system_clock::time_point clientLastModified_;
    bool writable_ = false;
    std::string watermark_;
    bool sharedFolder_ = false;
    AccessType accessType_ = AccessType::READ_ONLY;
    Invitation invitation_;
    bool hasActiveLink_ = false;
};

/// The full set of attributes of one file or folder.
class KVXCLIENT_EXPORT FileAttributes {
public:
    /// Makes a record with the defaults of the fields that have one.
    FileAttributes();

    /// Sets the kind of the item, as the service names it.
    FileAttributes& withType(std::string type);
    /// Returns the kind of the item, as the service names it. Default: empty.
    std::string getType() const;

    /// Sets the name of the item within its folder.
    FileAttributes& withName(std::u16string name);
    /// Returns the name of the item within its folder. Default: empty.
    std::u16string getName() const;

    /// Sets when the item was created.
    FileAttributes& withCreated(std::chrono::system_clock::time_point created);
    /// Returns when the item was created. Default: the epoch.
    std::chrono::system_clock::time_point getCreated() const;

    /// Sets when the item was last modified, by the service's clock.
    FileAttributes& withLastModified(std::chrono::system_clock::time_point lastModified);
    /// Returns when the item was last modified, by the service's clock. Default: the epoch.
    std::chrono::system_clock::time_point getLastModified() const;

    /// Sets when the item was last modified, as a client reported it.
    FileAttributes& withClientLastModified(
        std::chrono::system_clock::time_point clientLastModified);
    /// Returns when the item was last modified, as a client reported it. Default: the epoch.
    std::chrono::system_clock::time_point getClientLastModified() const;

    /// Sets the size of the item in bytes.
    FileAttributes& withSize(unsigned long size);
    /// Returns the size of the item in bytes. Default: 0.
    unsigned long getSize() const;

    /// Sets whether the caller may change the item.
    FileAttributes& withWritable(bool writable);
    /// Returns whether the caller may change the item. Default: false.
    bool getWritable() const;

    /// Sets the service's change marker of the item.
    FileAttributes& withWatermark(std::string watermark);
    /// Returns the service's change marker of the item. Default: empty.
    std::string getWatermark() const;

    /// Sets whether the caller may share the item.
    FileAttributes& withShareable(bool shareable);
    /// Returns whether the caller may share the item. Default: false.
    bool getShareable() const;

    /// Sets whether the item is a folder shared with or by the caller.
    FileAttributes& withSharedFolder(bool sharedFolder);
    /// Returns whether the item is a folder shared with or by the caller. No default: set it before
    /// use.
    bool isSharedFolder() const;

    /// Sets the caller's right on the item.
    FileAttributes& withAccessType(AccessType accessType);
    /// Returns the caller's right on the item. No default: set it before use.
    AccessType getAccessType() const;

    /// Compares type, name, created, lastModified, clientLastModified, size, writable, watermark,
    /// shareable, sharedFolder and accessType.
    bool operator==(const FileAttributes& other) const;

private:
    std::string type_;
    std::u16string name_;
    std::chrono::system_clock::time_point created_;
    std::chrono::system_clock::time_point lastModified_;
    std::chrono::system_clock::time_point clientLastModified_;
    unsigned long size_ = 0;
    bool writable_ = false;
    std::string watermark_;
    bool shareable_ = false;
    bool sharedFolder_ = false;
    AccessType accessType_ = AccessType::READ_ONLY;
};

/// A deleted file: where it was, when it was deleted, and its id in the trash.
class KVXCLIENT_EXPORT DeletedFileSummary {
public:
    /// Makes a record with every field at its default.
    DeletedFileSummary();

    /// Sets the folder from which the file was deleted.
    DeletedFileSummary& withParentResource(Resource parentResource);
    /// Returns the folder from which the file was deleted. Default: a default Resource.
    Resource getParentResource() const;

    /// Sets when the file was deleted.
    DeletedFileSummary& withDeletedDate(std::chrono::system_clock::time_point deletedDate);
    /// Returns when the file was deleted. Default: the epoch.
    std::chrono::system_clock::time_point getDeletedDate() const;

    /// Sets the service's id of the file in the trash.
    DeletedFileSummary& withTombstone(std::string tombstone);
    /// Returns the service's id of the file in the trash. Default: empty.
    std::string getTombstone() const;

    /// Sets whether the file went to a shared trash.
    DeletedFileSummary& withSharedTrash(bool sharedTrash);
    /// Returns whether the file went to a shared trash. Default: false.
    bool getSharedTrash() const;

    /// Compares parentResource, deletedDate, tombstone and sharedTrash.
    bool operator==(const DeletedFileSummary& other) const;

private:
    Resource parentResource_;
    std::chrono::system_clock::time_point deletedDate_;
    std::string tombstone_;
    bool sharedTrash_ = false;
};

/// A deleted folder: where it was, when it was deleted, and its id in the trash.
class KVXCLIENT_EXPORT DeletedFolderSummary {
public:
    /// Makes a record with every field at its default.
    DeletedFolderSummary();

    /// Sets the folder from which the folder was deleted.
    DeletedFolderSummary& withParentResource(Resource parentResource);
    /// Returns the folder from which the folder was deleted. Default: a default Resource.
    Resource getParentResource() const;

    /// Sets when the folder was deleted.
    DeletedFolderSummary& withDeletedDate(std::chrono::system_clock::time_point deletedDate);
    /// Returns when the folder was deleted. Default: the epoch.
    std::chrono::system_clock::time_point getDeletedDate() const;

    /// Sets the service's id of the folder in the trash.
    DeletedFolderSummary& withTombstone(std::string tombstone);
    /// Returns the service's id of the folder in the trash. Default: empty.
    std::string getTombstone() const;

    /// Sets whether the folder went to a shared trash.
    DeletedFolderSummary& withSharedTrash(bool sharedTrash);
    /// Returns whether the folder went to a shared trash. Default: false.
    bool getSharedTrash() const;

    /// Compares parentResource, deletedDate, tombstone and sharedTrash.
    bool operator==(const DeletedFolderSummary& other) const;

private:
    Resource parentResource_;
    std::chrono::system_clock::time_point deletedDate_;
    std::string tombstone_;
    bool sharedTrash_ = false;
};

}  // namespace storage::kvxclient
