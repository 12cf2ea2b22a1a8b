#include "namespace/Summaries.h"

#include <algorithm>

#include "core/Text.h"
#include "namespace/InvitationRow.h"

namespace storage::kvxstore {

namespace {

bool isRoot(const Node& node) { return node.parent == rootParent; }

/// Describes how the folder is shared with a user who does not own it.
void describeGrant(const Context& context, std::int64_t user, const Node& folder,
                   FolderSummary& summary) {
    const auto grant = context.database.query(
        "select g.invitation, g.level, b.owner from grants g"
        " join nodes n on n.id = g.node join buckets b on b.id = n.bucket"
        " where g.node = $1 and g.grantee = $2 order by g.invitation = '', g.id limit 1",
        {folder.id, user});
    if (!grant->next()) {
        return;
    }
    InvitationRow row;
    if (const std::string invitation = grant->text(0); !invitation.empty()) {
        row = findInvitation(context, user, invitation);
    } else {  // A permission in the form of an invitation, which says where the folder is.
        row.node = folder.id;
        row.inviter = grant->integer(2);
        row.recipient = user;
        row.right = Right(grant->integer(1));
        row.status = InvitationStatus::ACCEPTED;
    }
    summary.withSharedFolder(true).withInvitation(describe(context, row));
}

void describeSharing(const Context& context, std::int64_t user, const Node& folder,
                     FolderSummary& summary) {
    if (!folder.shared) {
        return;
    }
    if (folder.right != Right::OWN) {
        describeGrant(context, user, folder, summary);
        return;
    }
    summary.withSharedFolder(true);
    const auto invitations = selectInvitations(context, "node = $1", {folder.id});
    if (!invitations.empty()) {
        summary.withInvitation(describe(context, invitations.front()));
        summary.withHasActiveLink(
            std::any_of(invitations.begin(), invitations.end(),
                        [](const InvitationRow& row) { return row.type == InvitationType::OPEN; }));
    }
}

/// The summary of a folder that is listed outside of its parent, where the root has its name too.
FolderSummary summarizeElsewhere(const Context& context, const ResolvedPath& path) {
    const Node& folder = path.chain.back();
    return summarizeFolder(context, path.user, folder).withName(toUtf16(folder.name));
}

}  // namespace

FileSummary summarizeFile(const Node& file) {
    return FileSummary(toUtf16(file.name))
        .withSize(static_cast<unsigned long>(file.size))
        .withCreated(toTime(file.created))
        .withLastModified(toTime(file.modified))
        .withClientLastModified(toTime(file.clientModified))
        .withWritable(file.right >= Right::WRITE)
        .withWatermark(std::to_string(file.seq));
}

FolderSummary summarizeFolder(const Context& context, std::int64_t user, const Node& folder) {
    auto summary = FolderSummary(isRoot(folder) ? u"" : toUtf16(folder.name))
                       .withCreated(toTime(folder.created))
                       .withLastModified(toTime(folder.modified))
                       .withClientLastModified(toTime(folder.clientModified))
                       .withWritable(folder.right >= Right::WRITE)
                       .withWatermark(std::to_string(folder.seq))
                       .withAccessType(accessTypeOf(folder.right));
    describeSharing(context, user, folder, summary);
    return summary;
}

FileAttributes attributesOf(const Context& context, std::int64_t user, const Node& node) {
    const bool isFolder = node.kind == Kind::FOLDER;
    return FileAttributes()
        .withType(isFolder ? "FOLDER" : "FILE")
        .withName(isRoot(node) ? u"" : toUtf16(node.name))
        .withCreated(toTime(node.created))
        .withLastModified(toTime(node.modified))
        .withClientLastModified(toTime(node.clientModified))
        .withSize(static_cast<unsigned long>(node.size))
        .withWritable(node.right >= Right::WRITE)
        .withWatermark(std::to_string(node.seq))
        .withShareable(isFolder && node.right == Right::OWN)
        .withSharedFolder(isFolder && summarizeFolder(context, user, node).isSharedFolder())
        .withAccessType(accessTypeOf(node.right));
}

void Listing::add(const Context& context, std::int64_t user, const Node& node) {
    if (node.kind == Kind::FOLDER) {
        folders.push_back(summarizeFolder(context, user, node));
    } else {
        files.push_back(summarizeFile(node));
    }
}

Listing listChildren(const Context& context, std::int64_t user, const Node& folder,
                     bool showHidden) {
    Listing listing;
    forEachChild(context, user, folder, [&](const Node& node) {
        if (showHidden || !node.name.starts_with('.')) {
            listing.add(context, user, node);
        }
    });
    return listing;
}

void addFoldersSharedWith(const Context& context, std::int64_t user, bool showHidden,
                          std::vector<FolderSummary>& folders) {
    const auto rows = context.database.query(
        "select n.id from nodes n where n.kind = 0"
        " and n.id in (select node from grants where grantee = $1) order by n.name, n.id",
        {user});
    while (rows->next()) {
        const ResolvedPath path = resolveNode(context, user, rows->integer(0));
        const bool isForeign = !path.chain.empty() && path.bucket.owner != user;
        if (isForeign && (showHidden || !path.chain.back().name.starts_with('.'))) {
            folders.push_back(summarizeElsewhere(context, path));
        }
    }
}

void addFoldersOfferedTo(const Context& context, std::int64_t user,
                         std::vector<FolderSummary>& folders) {
    for (const auto& row : selectInvitations(context, "recipient = $1 and status = 0", {user})) {
        const ResolvedPath path = resolveNode(context, user, row.node);
        if (!path.chain.empty()) {
            folders.push_back(
                summarizeElsewhere(context, path).withInvitation(describe(context, row)));
        }
    }
}

}  // namespace storage::kvxstore
