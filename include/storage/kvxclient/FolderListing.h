#pragma once

/// @file
/// Listing folders and reading the attributes of one item.

#include <set>
#include <vector>

#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"
#include "storage/kvxclient/Summaries.h"

namespace storage::kvxclient {

/// Asks for the content of one folder.
class KVXCLIENT_EXPORT FolderListRequest {
public:
    /// Makes the request for the folder to list.
    FolderListRequest(Resource resource);

    /// Returns the folder to list.
    Resource getResource() const;

    /// Sets whether hidden items are listed.
    FolderListRequest& withShowHidden(bool showHidden);
    /// Returns whether hidden items are listed. Default: false.
    bool getShowHidden() const;

    /// Sets whether folders shared with the caller are listed.
    FolderListRequest& withShowShared(bool showShared);
    /// Returns whether folders shared with the caller are listed. Default: false.
    bool getShowShared() const;

    /// Sets whether pending invitations to shared folders are included.
    FolderListRequest& withIncludeInvitations(bool includeInvitations);
    /// Returns whether pending invitations to shared folders are included. Default: false.
    bool getIncludeInvitations() const;

    /// Compares showHidden, showShared, includeInvitations and resource.
    bool operator==(const FolderListRequest& other) const;

private:
    Resource resource_;
    bool showHidden_ = false;
    bool showShared_ = false;
    bool includeInvitations_ = false;
};

/// Asks for the listings of several folders, starting from one, in one response.
class KVXCLIENT_EXPORT MultiFolderListRequest {
public:
    /// Makes the request for the folder to start from.
    MultiFolderListRequest(Resource resource);

    /// Returns the folder to start from.
    Resource getResource() const;

    /// Sets whether folders shared with the caller are listed.
    MultiFolderListRequest& withShowShared(bool showShared);
    /// Returns whether folders shared with the caller are listed. Default: false.
    bool getShowShared() const;

    /// Compares showShared and resource.
    bool operator==(const MultiFolderListRequest& other) const;

private:
    Resource resource_;
    bool showShared_ = false;
};

/// Asks for the attributes of one file or folder.
class KVXCLIENT_EXPORT FileAttributesReadRequest {
public:
    /// Makes the request for the file or folder.
    FileAttributesReadRequest(Resource resource);

    /// Returns the file or folder.
    Resource getResource() const;

    /// Sets whether the sharing attributes are asked for as well.
    FileAttributesReadRequest& withSharingMetadata(bool sharingMetadata);
    /// Returns whether the sharing attributes are asked for as well. Default: false.
    bool getSharingMetadata() const;

    /// Compares resource and sharingMetadata.
    bool operator==(const FileAttributesReadRequest& other) const;

private:
    Resource resource_;
    bool sharingMetadata_ = false;
};

/// One folder and its content. Has no equality, since FolderSummary has none.
class KVXCLIENT_EXPORT FolderListResponse {
public:
    /// Makes a record with every field at its default.
    FolderListResponse();
    /// Makes a record with the listed folder itself; every other field has its default.
    FolderListResponse(FolderSummary folderSummary);

    /// Sets the listed folder itself.
    FolderListResponse& withFolderSummary(FolderSummary folderSummary);
    /// Returns the listed folder itself. Default: a default FolderSummary.
    FolderSummary getFolderSummary() const;

    /// Sets the folders in it, in the order the transport gave.
    FolderListResponse& withFolders(std::vector<FolderSummary> folders);
    /// Returns the folders in it, in the order the transport gave. Default: empty.
    std::vector<FolderSummary> getFolders() const;

    /// Sets the files in it, in the order the transport gave.
    FolderListResponse& withFiles(std::vector<FileSummary> files);
    /// Returns the files in it, in the order the transport gave. Default: empty.
    std::vector<FileSummary> getFiles() const;

private:
    FolderSummary folderSummary_;
    std::vector<FolderSummary> folders_;
    std::vector<FileSummary> files_;
};

/// The listing of one folder within a multi-folder response. Has no equality, since FolderSummary
/// has none.
class KVXCLIENT_EXPORT ResourceAndFolderList {
public:
    /// Makes the empty listing of the folder.
    ResourceAndFolderList(Resource parentResource);

    /// Returns the folder that was listed.
    Resource getParentResource() const;

    /// Sets the listed folder itself.
    ResourceAndFolderList& withFolderSummary(FolderSummary folderSummary);
    /// Returns the listed folder itself. Default: a default FolderSummary.
    FolderSummary getFolderSummary() const;

    /// Sets the files in it, in the order the transport gave.
    ResourceAndFolderList& withFiles(std::vector<FileSummary> files);
    /// Returns the files in it, in the order the transport gave. Default: empty.
    std::vector<FileSummary> getFiles() const;

    /// Sets the folders in it, in the order the transport gave.
    ResourceAndFolderList& withFolders(std::vector<FolderSummary> folders);
    /// Returns the folders in it, in the order the transport gave. Default: empty.
    std::vector<FolderSummary> getFolders() const;

    /// Orders listings by the paths of their folders, code unit by code unit, a prefix first. The
    /// bucket is not compared: a response holds one listing per path.
    bool operator<(const ResourceAndFolderList& other) const;

private:
    Resource parentResource_;
    FolderSummary folderSummary_;
    std::vector<FileSummary> files_;
    std::vector<FolderSummary> folders_;
};

/// The listings of several folders, one per path, ordered by path. Has no equality, since
/// FolderSummary has none.
class KVXCLIENT_EXPORT MultiFolderListResponse {
public:
    /// Makes a record with every field at its default.
    MultiFolderListResponse();

    /// Replaces all listings.
    MultiFolderListResponse& withFolders(std::set<ResourceAndFolderList> folders);
    /// Returns the listings, ordered by path. Default: empty.
    std::set<ResourceAndFolderList> getFolders() const;

    /// Adds a listing. If there is already one for its path, in any bucket, the new one is silently
    /// dropped.
    void add(ResourceAndFolderList folder);

private:
    std::set<ResourceAndFolderList> folders_;
};

/// The attributes of the file or folder asked for.
class KVXCLIENT_EXPORT FileAttributesReadResponse {
public:
    /// Makes a record with every field at its default.
    FileAttributesReadResponse();

    /// Sets the attributes.
    FileAttributesReadResponse& withFileAttributes(FileAttributes fileAttributes);
    /// Returns the attributes. Default: a default FileAttributes.
    FileAttributes getFileAttributes() const;

    /// Compares fileAttributes.
    bool operator==(const FileAttributesReadResponse& other) const;

private:
    FileAttributes fileAttributes_;
};

}  // namespace storage::kvxclient
