#include "operations/Folders.h"

#include <iterator>
#include <utility>
#include <vector>

#include "core/Text.h"
#include "namespace/Deletion.h"
#include "namespace/LookupCache.h"
#include "namespace/Summaries.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

/// Whether it is the root of the caller's own bucket, where what others share with him is shown.
bool isHome(const Context& context, const Place& place) {
    return place.names.empty() && place.bucket.owner == place.user &&
           context.database.number("select name = $2 from users where id = $1",
                                   {place.user, place.bucket.name}) != 0;
}

template <class Elements>
void append(Elements& elements, Elements more) {
    std::move(more.begin(), more.end(), std::back_inserter(elements));
}

}  // namespace

kvxclient::FolderCreateResponse createFolder(const Context& context,
                                             const kvxclient::FolderCreateRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& parent = place.parent();
    if (place.exists()) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    Node folder;
    folder.bucket = place.bucket.id;
    folder.parent = parent.id;
    folder.name = place.name();
    folder.seq = advance(context, place.bucket.id, 0);
    folder.created = folder.modified = context.now();
    insertNode(context, folder);
    LookupCache::on(context.database).keep();
    return {};
}

kvxclient::FolderDeleteResponse deleteFolder(const Context& context,
                                             const kvxclient::FolderDeleteRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& folder = place.node(Kind::FOLDER);
    place.parent();
    if (!request.getForceRecursive() && hasChildren(context, folder)) {
        refuse(KVXClientErrorCode::FOLDER_NOT_EMPTY);
    }
    moveToTrash(context, folder, advance(context, place.bucket.id, 0));
    return kvxclient::FolderDeleteResponse().withDeletedFolderSummary(
        kvxclient::DeletedFolderSummary()
            .withParentResource(place.parentResource())
            .withDeletedDate(toTime(context.now()))
            .withTombstone(std::to_string(folder.id))
            .withSharedTrash(folder.right != Right::OWN));
}

kvxclient::FolderListResponse listFolder(const Context& context,
                                         const kvxclient::FolderListRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& folder = place.node(Kind::FOLDER);
    Listing listing = listChildren(context, place.user, folder, request.getShowHidden());
    if (isHome(context, place)) {
        if (request.getShowShared()) {
            append(listing.folders,
                   foldersSharedWith(context, place.user, request.getShowHidden()));
        }
        if (request.getIncludeInvitations()) {
            append(listing.folders, foldersOfferedTo(context, place.user));
        }
    }
    kvxclient::FolderListResponse response(summarizeFolder(context, place.user, folder));
    response.withFolders(std::move(listing.folders)).withFiles(std::move(listing.files));
    return response;
}

kvxclient::MultiFolderListResponse listMultiFolder(
    const Context& context, const kvxclient::MultiFolderListRequest& request) {
    const Place place = locate(context, request.getResource());
    const std::u16string bucket = toUtf16(place.bucket.name);
    kvxclient::MultiFolderListResponse response;
    std::vector<std::pair<std::u16string, Node>> pending;
    pending.emplace_back(request.getResource().getPath(), place.node(Kind::FOLDER));
    while (!pending.empty()) {
        const auto [path, folder] = std::move(pending.back());
        pending.pop_back();
        Listing listing;
        forEachChild(context, place.user, folder, [&, &path = path](const Node& node) {
            listing.add(context, place.user, node);
            if (node.kind == Kind::FOLDER) {
                pending.emplace_back((path == u"/" ? path : path + u'/') + toUtf16(node.name),
                                     node);
            }
        });
        if (request.getShowShared() && isHome(context, place) && path == u"/") {
            append(listing.folders, foldersSharedWith(context, place.user, true));
        }
        kvxclient::ResourceAndFolderList entry(kvxclient::Resource(path, bucket));
        entry.withFolderSummary(summarizeFolder(context, place.user, folder))
            .withFiles(std::move(listing.files))
            .withFolders(std::move(listing.folders));
        response.add(std::move(entry));
    }
    return response;
}

}  // namespace storage::kvxstore::operations
