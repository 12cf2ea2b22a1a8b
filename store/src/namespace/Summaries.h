#pragma once

#include <vector>

#include "namespace/ResolvedPath.h"
#include "storage/kvxclient/Summaries.h"

namespace storage::kvxstore {

// Nodes as their readers see them.
// REQUIRES: the nodes carry the rights of the user.

FileSummary summarizeFile(const Node& file);

/// A folder that the user shares carries the oldest invitation to it. A folder shared with the user
/// carries the invitation or permission that gave it.
FolderSummary summarizeFolder(const Context& context, std::int64_t user, const Node& folder);

/// The sharing attributes cost nothing, so they are set whether or not they are asked for.
FileAttributes attributesOf(const Context& context, std::int64_t user, const Node& node);

struct Listing {
    void add(const Context& context, std::int64_t user, const Node& node);

    std::vector<FolderSummary> folders;
    std::vector<FileSummary> files;
};

/// A name that begins with a dot is hidden.
Listing listChildren(const Context& context, std::int64_t user, const Node& folder,
                     bool showHidden);

/// Adds the folders that others share with the user, each with an invitation that says where it is.
void addFoldersSharedWith(const Context& context, std::int64_t user, bool showHidden,
                          std::vector<FolderSummary>& folders);

/// Adds the folders of the invitations that the user has not answered.
void addFoldersOfferedTo(const Context& context, std::int64_t user,
                         std::vector<FolderSummary>& folders);

}  // namespace storage::kvxstore
