#pragma once

#include <string>
#include <vector>

#include "operations/Context.h"
#include "storage/kvxclient/Resource.h"
#include "storage/kvxclient/Summaries.h"

namespace storage::kvxstore::operations {

enum class Kind : std::int64_t { FOLDER = 0, FILE = 1 };

/// A file or folder.
struct Node {
    std::int64_t id = 0;
    std::int64_t bucket = 0;
    std::int64_t parent = 0;
    std::string name;
    Kind kind = Kind::FOLDER;
    std::int64_t seq = 0;
    std::int64_t size = 0;
    std::int64_t label = 0;
    std::int64_t created = 0;
    std::int64_t modified = 0;
    std::int64_t clientModified = 0;
};

struct BucketRow {
    std::int64_t id = 0;
    std::string name;
    std::int64_t root = 0;
};

/// A resource as far as it exists.
struct Place {
    BucketRow bucket;
    /// The names on its path.
    std::vector<std::string> names;
    /// The root and every node on the path that exists.
    std::vector<Node> chain;

    bool exists() const { return chain.size() == names.size() + 1; }
    bool passesThrough(const Node& node) const;

    /// The node itself, refused with RESOURCE_NOT_FOUND when there is none.
    const Node& node() const;
    /// As node(), refused with CONFLICT when it is of the other kind.
    const Node& node(Kind kind) const;
    /// The folder to hold it, refused with PARENT_RESOURCE_NOT_FOUND when there is none. The root
    /// has none: CONFLICT.
    const Node& parent() const;
    /// Its last name.
    const std::string& name() const { return names.back(); }
    kvxclient::Resource parentResource() const;
};

/// Looks up what the caller of a valid session may see.
Place locate(const Context& context, const kvxclient::Resource& resource);

/// The children of a folder, by name.
std::vector<Node> children(const Context& context, const Node& folder);
bool hasChildren(const Context& context, const Node& folder);

/// Inserts the node and gives it its id.
void insertNode(const Context& context, Node& node);

/// Takes a node out of its folder at once; all below it goes with it.
void moveToTrash(const Context& context, const Node& node, std::int64_t seq);

/// Counts a change of the bucket: returns its new sequence number. The bytes in use grow by
/// `growth`, which is refused with QUOTA_EXCEEDED when they would exceed the owner's quota.
std::int64_t advance(const Context& context, std::int64_t bucket, std::int64_t growth);

kvxclient::FileSummary summarizeFile(const Node& node);
kvxclient::FolderSummary summarizeFolder(const Node& node);

}  // namespace storage::kvxstore::operations
