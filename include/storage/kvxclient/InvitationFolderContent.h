#pragma once

/// @file
/// Listing a folder before accepting the invitation to it.

#include <string>
#include <vector>

#include "storage/kvxclient/Export.h"
#include "storage/kvxclient/Resource.h"
#include "storage/kvxclient/Summaries.h"

namespace storage::kvxclient {

/// Asks for the content of the folder that an invitation offers.
class KVXCLIENT_EXPORT InvitationFolderContentRequest {
public:
    /// Makes a record with every field at its default.
    InvitationFolderContentRequest();

    /// Sets the folder whose content is listed.
    InvitationFolderContentRequest& withResource(Resource resource);
    /// Returns the folder whose content is listed. Default: a default Resource.
    Resource getResource() const;

    /// Sets the id of the invitation.
    InvitationFolderContentRequest& withInvitationId(std::string invitationId);
    /// Returns the id of the invitation. Default: empty.
    std::string getInvitationId() const;

    /// Sets whether hidden items are listed.
    InvitationFolderContentRequest& withShowHidden(bool showHidden);
    /// Returns whether hidden items are listed. Default: false.
    bool showHidden() const;

    /// Compares resource, invitationId and showHidden.
    bool operator==(const InvitationFolderContentRequest& other) const;

private:
    Resource resource_;
    std::string invitationId_;
    bool showHidden_ = false;
};

/// The content of a folder that an invitation offers. Has no equality, since FolderSummary has
/// none.
class KVXCLIENT_EXPORT InvitationFolderContentResponse {
public:
    /// Makes a record with every field at its default.
    InvitationFolderContentResponse();
    /// Makes a record with the listed folder itself; every other field has its default.
    InvitationFolderContentResponse(FolderSummary folderSummary);

    /// Sets the listed folder itself.
    InvitationFolderContentResponse& withFolderSummary(FolderSummary folderSummary);
    /// Returns the listed folder itself. Default: a default FolderSummary.
    FolderSummary getFolderSummary() const;

    /// Sets the folders in it, in the order the transport gave.
    InvitationFolderContentResponse& withFolders(std::vector<FolderSummary> folders);
    /// Returns the folders in it, in the order the transport gave. Default: empty.
    std::vector<FolderSummary> getFolders() const;

    /// Sets the files in it, in the order the transport gave.
    InvitationFolderContentResponse& withFiles(std::vector<FileSummary> files);
    /// Returns the files in it, in the order the transport gave. Default: empty.
    std::vector<FileSummary> getFiles() const;

private:
    FolderSummary folderSummary_;
    std::vector<FolderSummary> folders_;
    std::vector<FileSummary> files_;
};

}  // namespace storage::kvxclient
