#pragma once

#include <functional>
#include <string>
#include <vector>

#include "core/Context.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxstore::operations {

enum class Kind : std::int64_t { FOLDER = 0, FILE = 1 };

/// What a user may do with a file or folder; each value includes the ones before it.
enum class Right : std::int64_t { NONE = 0, READ = 1, WRITE = 2, OWN = 3 };

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
    /// Whether grants or invitations name it.
    bool shared = false;
    /// The caller's.
    Right right = Right::NONE;
};

struct BucketRow {
    std::int64_t id = 0;
    std::string name;
    std::int64_t root = 0;
    std::int64_t owner = 0;
};

/// A resource as far as it exists, and the caller's rights along its path.
struct Place {
    std::int64_t user = 0;
    BucketRow bucket;
    /// The names on its path.
    std::vector<std::string> names;
    /// The root and every node on the path that exists.
    std::vector<Node> chain;

    bool exists() const { return chain.size() == names.size() + 1; }
    bool passesThrough(const Node& node) const;

    /// The node itself, refused with RESOURCE_NOT_FOUND when the caller sees none and with
    /// UNAUTHORIZED when he may not do that much with it.
    const Node& node(Right needed = Right::READ) const;
    /// As node(), refused with CONFLICT when it is of the other kind.
    const Node& node(Kind kind, Right needed = Right::READ) const;
    /// The folder to hold it or lose it, refused with PARENT_RESOURCE_NOT_FOUND when there is none
    /// and UNAUTHORIZED when the caller may not write to it. The root has none: CONFLICT.
    const Node& parent() const;
    /// Its last name.
    const std::string& name() const { return names.back(); }
    kvxclient::Resource resource() const;
    kvxclient::Resource parentResource() const;
};

/// Looks up what the caller of a valid session may see. What he may not see is refused with
/// RESOURCE_NOT_FOUND, whether or not it exists.
Place locate(const Context& context, const kvxclient::Resource& resource);

/// The place of a node as it is now, with the rights of a user who perhaps has none; without a
/// chain when the node was deleted.
Place placeOf(const Context& context, std::int64_t user, std::int64_t node);

/// Follows the place by a name, to a child that may be missing.
void enter(const Context& context, Place& place, const std::string& name);

/// The children of a folder, by name, with the rights of the user.
void forEachChild(const Context& context, std::int64_t user, const Node& folder,
                  const std::function<void(const Node&)>& visit);
bool hasChildren(const Context& context, const Node& folder);

/// Inserts the node and gives it its id.
void insertNode(const Context& context, Node& node);

/// Notes that a node leaves its place, which it still has, with the bucket's change `seq`.
void leavePlace(const Context& context, const Node& node, std::int64_t seq);

/// Notes that a place is taken.
void takePlace(const Context& context, std::int64_t parent, const std::string& name);

/// Takes a node out of its folder at once; all below it goes with it.
void moveToTrash(const Context& context, const Node& node, std::int64_t seq);

/// Counts a change of the bucket: returns its new sequence number. The bytes in use grow by
/// `growth`, which is refused with QUOTA_EXCEEDED when they would exceed the owner's quota.
std::int64_t advance(const Context& context, std::int64_t bucket, std::int64_t growth);

/// Lets the bytes in use grow on the terms of advance(), with no change to count.
void reserve(const Context& context, std::int64_t bucket, std::int64_t growth);

}  // namespace storage::kvxstore::operations
