#include "operations/Operations.h"

#include <utility>
#include <vector>

#include "core/Text.h"
#include "namespace/Deletion.h"
#include "namespace/LookupCache.h"
#include "namespace/Summaries.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

namespace {

/// Whether the path is the root of the caller's own bucket, where shared folders are listed.
bool isHome(const Context& context, const ResolvedPath& path) {
    return path.names.empty() && path.bucket.owner == path.user &&
           context.database.number("select name = $2 from users where id = $1",
                                   {path.user, path.bucket.name}) != 0;
}

}  // namespace

FolderCreateResponse createFolder(const Context& context, const FolderCreateRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& parent = path.parent();
    if (path.exists()) {
        refuse(ErrorCode::CONFLICT);
    }
    const ChangeAt change(context, path);
    Node folder;
    folder.bucket = path.bucket.id;
    folder.parent = parent.id;
    folder.name = path.name();
    folder.seq = advanceFile(context, path.bucket.id);  // No folder was there before.
    folder.created = folder.modified = context.now();
    insertNode(context, folder);
    LookupCache::on(context.database).keep();
    return {};
}

FolderDeleteResponse deleteFolder(const Context& context, const FolderDeleteRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& folder = path.node(Kind::FOLDER);
    path.parent();
    if (!request.getForceRecursive() && hasChildren(context, folder)) {
        refuse(ErrorCode::FOLDER_NOT_EMPTY);
    }
    softDelete(context, folder, advance(context, path.bucket.id));
    return FolderDeleteResponse().withDeletedFolderSummary(
        DeletedFolderSummary()
            .withParentResource(path.parentResource())
            .withDeletedDate(toTime(context.now()))
            .withTombstone(std::to_string(folder.id))
            .withSharedTrash(folder.right != Right::OWN));
}

FolderListResponse listFolder(const Context& context, const FolderListRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& folder = path.node(Kind::FOLDER);
    Listing listing = listChildren(context, path.user, folder, request.getShowHidden());
    if (isHome(context, path)) {
        if (request.getShowShared()) {
            addFoldersSharedWith(context, path.user, request.getShowHidden(), listing.folders);
        }
        if (request.getIncludeInvitations()) {
            addFoldersOfferedTo(context, path.user, listing.folders);
        }
    }
    FolderListResponse response(summarizeFolder(context, path.user, folder));
    response.withFolders(std::move(listing.folders)).withFiles(std::move(listing.files));
    return response;
}

MultiFolderListResponse listMultiFolder(const Context& context,
                                        const MultiFolderListRequest& request) {
    const ResolvedPath top = resolve(context, request.getResource());
    const std::u16string bucket = toUtf16(top.bucket.name);
    MultiFolderListResponse response;
    std::vector<std::pair<std::u16string, Node>> pending;
    pending.emplace_back(request.getResource().getPath(), top.node(Kind::FOLDER));
    while (!pending.empty()) {
        const auto [path, folder] = std::move(pending.back());
        pending.pop_back();
        Listing listing;
        forEachChild(context, top.user, folder, [&, &path = path](const Node& node) {
            listing.add(context, top.user, node);
            if (node.kind == Kind::FOLDER) {
                pending.emplace_back((path == u"/" ? path : path + u'/') + toUtf16(node.name),
                                     node);
            }
        });
        if (request.getShowShared() && isHome(context, top) && path == u"/") {
            addFoldersSharedWith(context, top.user, true, listing.folders);
        }
        ResourceAndFolderList entry(Resource(path, bucket));
        entry.withFolderSummary(summarizeFolder(context, top.user, folder))
            .withFiles(std::move(listing.files))
            .withFolders(std::move(listing.folders));
        response.add(std::move(entry));
    }
    return response;
}

}  // namespace storage::kvxstore::operations
