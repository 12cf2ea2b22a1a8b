#include "operations/Operations.h"

#include <algorithm>

#include "core/Text.h"
#include "namespace/Caller.h"
#include "namespace/InvitationRow.h"
#include "namespace/Summaries.h"
#include "namespace/Trees.h"

namespace storage::kvxstore::operations {

// The readers of an invitation may use the folder before they accept. The resource may name a
// folder below the one offered; an empty resource means the offered folder itself.

namespace {

/// Finds the folder that the invitation offers, or one below it, with at least the right to read.
Node findFolder(const Context& context, std::int64_t user, const std::string& invitation,
                const Resource& resource) {
    const InvitationRow row = findInvitation(context, user, invitation);
    ResolvedPath path = resolveNode(context, user, row.node);
    if (path.chain.empty()) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    if (!(resource == Resource())) {
        const std::vector<std::string> names = splitPath(resource.getPath());
        const bool isBelow = names.size() >= path.names.size() &&
                             std::equal(path.names.begin(), path.names.end(), names.begin());
        if (!isBelow || resource.getUTF8Bucket() != path.bucket.name) {
            refuse(ErrorCode::RESOURCE_NOT_FOUND);
        }
        for (std::size_t i = path.names.size(); i < names.size(); ++i) {
            descend(context, path, names[i]);
        }
    }
    if (!path.exists()) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    Node folder = path.chain.back();
    folder.right = std::max(folder.right, Right::READ);
    if (folder.kind != Kind::FOLDER) {
        refuse(ErrorCode::CONFLICT);
    }
    return folder;
}

}  // namespace

InvitationFolderContentResponse getFolderContentFromInvitation(
    const Context& context, const InvitationFolderContentRequest& request) {
    const std::int64_t user = requireUser(context);
    const Node folder = findFolder(context, user, request.getInvitationId(), request.getResource());
    Listing listing = listChildren(context, user, folder, request.showHidden());
    InvitationFolderContentResponse response(summarizeFolder(context, user, folder));
    response.withFolders(std::move(listing.folders)).withFiles(std::move(listing.files));
    return response;
}

InvitationCopyFolderResponse copyFolderFromInvitation(const Context& context,
                                                      const InvitationCopyFolderRequest& request) {
    const ResolvedPath target = resolve(context, request.getTargetResource());
    const Node folder =
        findFolder(context, target.user, request.getInvitationId(), request.getResource());
    target.parent();
    if (target.exists() || target.passesThrough(folder)) {
        refuse(ErrorCode::CONFLICT);
    }
    copyTree(context, folder, target);
    return {};
}

}  // namespace storage::kvxstore::operations
