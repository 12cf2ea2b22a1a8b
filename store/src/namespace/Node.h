#pragma once

#include <optional>
#include <string>

#include "core/Context.h"
#include "storage/kvxclient/Enumerations.h"

namespace storage::kvxstore::operations {

/// In place of a parent: of a bucket's root, and of what was deleted.
constexpr std::int64_t rootParent = 0;
constexpr std::int64_t trashParent = -1;

enum class Kind : std::int64_t { FOLDER = 0, FILE = 1 };

/// What a user may do with a file or folder; each value includes the ones before it.
enum class Right : std::int64_t { NONE = 0, READ = 1, WRITE = 2, OWN = 3 };

kvxclient::AccessType accessTypeOf(Right right);

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

std::optional<Node> findNode(const Context& context, std::int64_t id);
std::optional<Node> findChild(const Context& context, std::int64_t folder, const std::string& name);

/// Selects the children of a folder by name, for readNode().
database::Rows selectChildren(const Context& context, std::int64_t folder);
Node readNode(const database::Statement& row);

bool hasChildren(const Context& context, const Node& folder);

/// Inserts the node and gives it its id.
void insertNode(const Context& context, Node& node);

/// Notes that a node leaves its place, which it still has, with the bucket's change `seq`.
void leavePlace(const Context& context, const Node& node, std::int64_t seq);

/// Notes that a place is taken.
void takePlace(const Context& context, std::int64_t parent, const std::string& name);

}  // namespace storage::kvxstore::operations
