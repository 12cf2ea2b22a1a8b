#pragma once

#include <vector>

#include "namespace/Places.h"
#include "storage/kvxclient/Summaries.h"

namespace storage::kvxstore::operations {

// What the user to whose rights the nodes were looked up is told of them.

kvxclient::FileSummary summarizeFile(const Node& file);

/// A folder shared by the user carries the oldest invitation to it, one shared with him the
/// invitation or permission by which he has it.
kvxclient::FolderSummary summarizeFolder(const Context& context, std::int64_t user,
                                         const Node& folder);

/// The sharing attributes cost nothing and are given whether or not they are asked for.
kvxclient::FileAttributes attributesOf(const Context& context, std::int64_t user, const Node& node);

struct Listing {
    void add(const Context& context, std::int64_t user, const Node& node);

    std::vector<kvxclient::FolderSummary> folders;
    std::vector<kvxclient::FileSummary> files;
};

/// Hidden is a name that begins with a dot.
Listing listChildren(const Context& context, std::int64_t user, const Node& folder,
                     bool showHidden);

/// The folders that others share with the user, each with its invitation, which tells where it is.
std::vector<kvxclient::FolderSummary> foldersSharedWith(const Context& context, std::int64_t user,
                                                        bool showHidden);

/// The folders of the invitations that the user has not answered.
std::vector<kvxclient::FolderSummary> foldersOfferedTo(const Context& context, std::int64_t user);

}  // namespace storage::kvxstore::operations
