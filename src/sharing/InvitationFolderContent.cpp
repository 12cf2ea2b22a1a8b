#include "storage/kvxclient/InvitationFolderContent.h"

#include <utility>

#include "core/Equality.h"

namespace storage::kvxclient {

InvitationFolderContentRequest::InvitationFolderContentRequest() = default;

InvitationFolderContentRequest& InvitationFolderContentRequest::withResource(Resource resource) {
    resource_ = std::move(resource);
    return *this;
}

Resource InvitationFolderContentRequest::getResource() const { return resource_; }

InvitationFolderContentRequest& InvitationFolderContentRequest::withInvitationId(
    std::string invitationId) {
    invitationId_ = std::move(invitationId);
    return *this;
}

std::string InvitationFolderContentRequest::getInvitationId() const { return invitationId_; }

InvitationFolderContentRequest& InvitationFolderContentRequest::withShowHidden(bool showHidden) {
    showHidden_ = showHidden;
    return *this;
}

bool InvitationFolderContentRequest::showHidden() const { return showHidden_; }

bool InvitationFolderContentRequest::operator==(const InvitationFolderContentRequest& other) const {
    return detail::equal(*this, other, &InvitationFolderContentRequest::resource_,
                         &InvitationFolderContentRequest::invitationId_,
                         &InvitationFolderContentRequest::showHidden_);
}

InvitationFolderContentResponse::InvitationFolderContentResponse() = default;

InvitationFolderContentResponse::InvitationFolderContentResponse(FolderSummary folderSummary)
    : folderSummary_(std::move(folderSummary)) {}

InvitationFolderContentResponse& InvitationFolderContentResponse::withFolderSummary(
    FolderSummary folderSummary) {
    folderSummary_ = std::move(folderSummary);
    return *this;
}

FolderSummary InvitationFolderContentResponse::getFolderSummary() const { return folderSummary_; }

InvitationFolderContentResponse& InvitationFolderContentResponse::withFolders(
    std::vector<FolderSummary> folders) {
    folders_ = std::move(folders);
    return *this;
}

std::vector<FolderSummary> InvitationFolderContentResponse::getFolders() const { return folders_; }

InvitationFolderContentResponse& InvitationFolderContentResponse::withFiles(
    std::vector<FileSummary> files) {
    files_ = std::move(files);
    return *this;
}

std::vector<FileSummary> InvitationFolderContentResponse::getFiles() const { return files_; }

}  // namespace storage::kvxclient
