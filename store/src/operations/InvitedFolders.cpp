#include "operations/InvitedFolders.h"

#include <algorithm>

#include "core/Text.h"
#include "namespace/Caller.h"
#include "namespace/InvitationRow.h"
#include "namespace/Summaries.h"
#include "namespace/Trees.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

/// The folder that the invitation offers, or one below it, with at least the right to read it.
Node findFolder(const Context& context, std::int64_t user, const std::string& invitation,
                const kvxclient::Resource& resource) {
    const InvitationRow row = findInvitation(context, user, invitation);
    Place place = placeOf(context, user, row.node);
    if (place.chain.empty()) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    if (!(resource == kvxclient::Resource())) {
        const std::vector<std::string> names = splitPath(resource.getPath());
        const bool isBelow = names.size() >= place.names.size() &&
                             std::equal(place.names.begin(), place.names.end(), names.begin());
        if (!isBelow || resource.getUTF8Bucket() != place.bucket.name) {
            refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
        }
        for (std::size_t i = place.names.size(); i < names.size(); ++i) {
            enter(context, place, names[i]);
        }
    }
    if (!place.exists()) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    Node folder = place.chain.back();
    folder.right = std::max(folder.right, Right::READ);
    if (folder.kind != Kind::FOLDER) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    return folder;
}

}  // namespace

kvxclient::InvitationFolderContentResponse getFolderContentFromInvitation(
    const Context& context, const kvxclient::InvitationFolderContentRequest& request) {
    const std::int64_t user = requireUser(context);
    const Node folder = findFolder(context, user, request.getInvitationId(), request.getResource());
    Listing listing = listChildren(context, user, folder, request.showHidden());
    kvxclient::InvitationFolderContentResponse response(summarizeFolder(context, user, folder));
    response.withFolders(std::move(listing.folders)).withFiles(std::move(listing.files));
    return response;
}

kvxclient::InvitationCopyFolderResponse copyFolderFromInvitation(
    const Context& context, const kvxclient::InvitationCopyFolderRequest& request) {
    const Place target = locate(context, request.getTargetResource());
    const Node folder =
        findFolder(context, target.user, request.getInvitationId(), request.getResource());
    target.parent();
    if (target.exists() || target.passesThrough(folder)) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    copyTree(context, folder, target);
    return {};
}

}  // namespace storage::kvxstore::operations
