#pragma once

/// @file
/// Creating and deleting folders, deleting files, moving and copying either.

#include <optional>

#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"
#include "storage/kvxclient/Summaries.h"

namespace storage::kvxclient {

/// Asks to create a folder.
class KVXCLIENT_EXPORT FolderCreateRequest {
public:
    /// Makes the request for the folder to create.
    FolderCreateRequest(Resource resource);

    /// Returns the folder to create.
    Resource getResource() const;

    /// Compares resource.
    bool operator==(const FolderCreateRequest& other) const;

private:
    Resource resource_;
};

/// Confirms that the folder is created. Has no fields.
class KVXCLIENT_EXPORT FolderCreateResponse {
public:
    /// Makes the record.
    FolderCreateResponse();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const FolderCreateResponse& other) const;
};

/// Asks to delete a folder.
class KVXCLIENT_EXPORT FolderDeleteRequest {
public:
    /// Makes the request for the folder to delete.
    FolderDeleteRequest(Resource resource);

    /// Returns the folder to delete.
    Resource getResource() const;

    /// Sets whether a folder that is not empty is deleted with all its content.
    FolderDeleteRequest& withForceRecursive(bool forceRecursive);
    /// Returns whether a folder that is not empty is deleted with all its content. No default: set
    /// it before use.
    bool getForceRecursive() const;

    /// Compares resource and forceRecursive.
    bool operator==(const FolderDeleteRequest& other) const;

private:
    Resource resource_;
    bool forceRecursive_ = false;
};

/// The outcome of deleting a folder.
class KVXCLIENT_EXPORT FolderDeleteResponse {
public:
    /// Makes a record with every field at its default.
    FolderDeleteResponse();

    /// Sets the summary of the deleted folder, which is then present even if it is a default one.
    FolderDeleteResponse& withDeletedFolderSummary(DeletedFolderSummary deletedFolderSummary);
    /// Returns the summary of the deleted folder, if the service gave one. Default: empty.
    std::optional<DeletedFolderSummary> getDeletedFolderSummary() const;

    /// Compares deletedFolderSummary.
    bool operator==(const FolderDeleteResponse& other) const;

private:
    std::optional<DeletedFolderSummary> deletedFolderSummary_;
};

/// Asks to delete a file.
class KVXCLIENT_EXPORT FileDeleteRequest {
public:
    /// Makes the request for the file to delete.
    FileDeleteRequest(Resource resource);

    /// Returns the file to delete.
    Resource getResource() const;

    /// Compares resource.
    bool operator==(const FileDeleteRequest& other) const;

private:
    Resource resource_;
};

/// The outcome of deleting a file.
class KVXCLIENT_EXPORT FileDeleteResponse {
public:
    /// Makes a record with every field at its default.
    FileDeleteResponse();

    /// Sets the summary of the deleted file, which is then present even if it is a default one.
    FileDeleteResponse& withDeletedFileSummary(DeletedFileSummary deletedFileSummary);
    /// Returns the summary of the deleted file, if the service gave one. Default: empty.
    std::optional<DeletedFileSummary> getDeletedFileSummary() const;

    /// Compares deletedFileSummary.
    bool operator==(const FileDeleteResponse& other) const;

private:
    std::optional<DeletedFileSummary> deletedFileSummary_;
};

/// Asks to move or copy a file or folder; the operation called decides which.
class KVXCLIENT_EXPORT MoveOrCopyRequest {
public:
    /// Makes the request for what is moved or copied and where it goes.
    MoveOrCopyRequest(Resource source, Resource target);

    /// Returns what is moved or copied.
    Resource getSource() const;

    /// Returns where it goes.
    Resource getTarget() const;

    /// Sets whether an existing target is overwritten.
    MoveOrCopyRequest& withTargetOverwrite(bool targetOverwrite);
    /// Returns whether an existing target is overwritten. No default: set it before use.
    bool getTargetOverwrite() const;

    /// Compares source, target and targetOverwrite.
    bool operator==(const MoveOrCopyRequest& other) const;

private:
    Resource source_;
    Resource target_;
    bool targetOverwrite_ = false;
};

/// Confirms that the item is moved or copied. Has no fields.
class KVXCLIENT_EXPORT MoveOrCopyResponse {
public:
    /// Makes the record.
    MoveOrCopyResponse();

    /// Returns true only for the same object: there are no fields to compare.
    bool operator==(const MoveOrCopyResponse& other) const;
};

}  // namespace storage::kvxclient
