#include "operations/Folders.h"

#include <utility>
#include <vector>

#include "operations/Places.h"
#include "operations/Text.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

struct Listing {
    std::vector<kvxclient::FolderSummary> folders;
    std::vector<kvxclient::FileSummary> files;
};

Listing summarize(const std::vector<Node>& nodes, bool showHidden) {
    Listing listing;
    for (const Node& node : nodes) {
        if (!showHidden && node.name.starts_with('.')) {
            continue;
        }
        if (node.kind == Kind::FOLDER) {
            listing.folders.push_back(summarizeFolder(node));
        } else {
            listing.files.push_back(summarizeFile(node));
        }
    }
    return listing;
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
            .withTombstone(std::to_string(folder.id)));
}

kvxclient::FolderListResponse listFolder(const Context& context,
                                         const kvxclient::FolderListRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& folder = place.node(Kind::FOLDER);
    Listing listing = summarize(children(context, folder), request.getShowHidden());
    kvxclient::FolderListResponse response(summarizeFolder(folder));
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
        const std::vector<Node> nodes = children(context, folder);
        for (const Node& node : nodes) {
            if (node.kind == Kind::FOLDER) {
                pending.emplace_back((path == u"/" ? path : path + u'/') + toUtf16(node.name),
                                     node);
            }
        }
        Listing listing = summarize(nodes, true);
        kvxclient::ResourceAndFolderList entry(kvxclient::Resource(path, bucket));
        entry.withFolderSummary(summarizeFolder(folder))
            .withFiles(std::move(listing.files))
            .withFolders(std::move(listing.folders));
        response.add(std::move(entry));
    }
    return response;
}

kvxclient::FileAttributesReadResponse readFileAttributes(
    const Context& context, const kvxclient::FileAttributesReadRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& node = place.node();
    const bool isFolder = node.kind == Kind::FOLDER;
    const bool isRoot = place.names.empty();
    return kvxclient::FileAttributesReadResponse().withFileAttributes(
        kvxclient::FileAttributes()
            .withType(isFolder ? "FOLDER" : "FILE")
            .withName(isRoot ? u"" : toUtf16(node.name))
            .withCreated(toTime(node.created))
            .withLastModified(toTime(node.modified))
            .withClientLastModified(toTime(node.clientModified))
            .withSize(static_cast<unsigned long>(node.size))
            .withWritable(true)
            .withWatermark(std::to_string(node.seq))
            .withShareable(isFolder)
            .withSharedFolder(false)
            .withAccessType(kvxclient::AccessType::OWNER));
}

kvxclient::SetMetadataResponse setMetadata(const Context& context,
                                           const kvxclient::SetMetadataRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& node = place.node();
    const std::int64_t time = request.getClientLastModified().time_since_epoch().count();
    context.database.execute("update nodes set client_modified = $2, seq = $3 where id = $1",
                             {node.id, time, advance(context, place.bucket.id, 0)});
    return {};
}

}  // namespace storage::kvxstore::operations
