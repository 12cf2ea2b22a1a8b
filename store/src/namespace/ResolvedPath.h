#pragma once

#include <functional>
#include <string>
#include <vector>

#include "namespace/Node.h"
#include "storage/kvxclient/Resource.h"

namespace storage::kvxstore {

/// A path looked up as far as it exists, with a user's rights to each node on it.
struct ResolvedPath {
    std::int64_t user = 0;
    BucketRow bucket;
    std::vector<std::string> names;
    /// The root and every node on the path that exists.
    std::vector<Node> chain;

    bool exists() const { return chain.size() == names.size() + 1; }
    bool passesThrough(const Node& node) const;

    /// The node at the end of the path. Refused with RESOURCE_NOT_FOUND when the user sees none,
    /// and with UNAUTHORIZED when the user's right is less than needed.
    const Node& node(Right needed = Right::READ) const;
    /// As node(), but a node of the other kind is refused with CONFLICT.
    const Node& node(Kind kind, Right needed = Right::READ) const;
    /// The folder that holds the node, or would. Refused with PARENT_RESOURCE_NOT_FOUND when it
    /// does not exist, with UNAUTHORIZED when the user may not write to it, and with CONFLICT for
    /// the root, which has none.
    const Node& parent() const;
    const std::string& name() const { return names.back(); }
    Resource resource() const;
    Resource parentResource() const;
};

/// Resolves the path of a resource with the rights of the caller. Refused with RESOURCE_NOT_FOUND
/// when the caller may not see the last node on it, whether or not the path goes on from there.
ResolvedPath resolve(const Context& context, const Resource& resource);

/// Asks ahead, in one round trip, for what resolve() reads where the folder is as it was.
void primeLookups(const Context& context, const Resource& resource);

/// While it lives, writes leave what was asked ahead of others as it is.
/// REQUIRES: they change, of all that resolve() reads, only what is at the end of the path.
class ChangeAt {
public:
    ChangeAt(const Context& context, const ResolvedPath& path);
    ~ChangeAt();
    ChangeAt(const ChangeAt&) = delete;
    ChangeAt& operator=(const ChangeAt&) = delete;

private:
    database::Connection& database_;
};

/// The present path of a node with the rights of a user, who perhaps has none. The chain is empty
/// when the node was deleted.
ResolvedPath resolveNode(const Context& context, std::int64_t user, std::int64_t node);

/// Extends the path by a name, to a child that may be missing.
void descend(const Context& context, ResolvedPath& path, const std::string& name);

/// Visits the children of a folder, by name, with the rights of the user.
void forEachChild(const Context& context, std::int64_t user, const Node& folder,
                  const std::function<void(const Node&)>& visit);

}  // namespace storage::kvxstore
