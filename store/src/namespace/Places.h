#pragma once

#include <functional>
#include <string>
#include <vector>

#include "namespace/Node.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxstore::operations {

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

}  // namespace storage::kvxstore::operations
