#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/Context.h"
#include "storage/kvxclient/Enumerations.h"

namespace storage::kvxstore {

/// Stands for the parent of a bucket's root.
constexpr std::int64_t rootParent = 0;
/// Stands for the parent of the deleted nodes of a bucket.
constexpr std::int64_t trashOf(std::int64_t bucket) { return -bucket; }

enum class Kind : std::int64_t { FOLDER = 0, FILE = 1 };

/// What a user may do with a node; each value includes the ones before it.
enum class Right : std::int64_t { NONE = 0, READ = 1, WRITE = 2, OWN = 3 };

AccessType accessTypeOf(Right right);

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
    /// Whether grants or invitations name the node.
    bool shared = false;
    /// The right of the user for whom the node was looked up.
    Right right = Right::NONE;
};

std::optional<Node> findNode(const Context& context, std::int64_t id);
std::optional<Node> findChild(const Context& context, std::int64_t folder, const std::string& name);

/// Asks ahead for findChild().
void primeChild(const Context& context, std::int64_t folder, const std::string& name);

/// Keeps what was asked ahead, but for this child, until releasePrimed().
void holdOtherChildren(const Context& context, std::int64_t folder, const std::string& name);

/// The node and those that it lies in, up to the root, the trash, one that is missing or one that
/// is known. Throws DAMAGED when a folder lies below itself.
std::vector<Node> climb(
    const Context& context, std::int64_t id,
    const std::function<bool(std::int64_t)>& isKnown = [](std::int64_t) { return false; });

/// Selects the children of a folder by name, for readNode().
database::Rows selectChildren(const Context& context, std::int64_t folder);
Node readNode(const database::Statement& row);

bool hasChildren(const Context& context, const Node& folder);

/// Inserts the node and sets its id.
void insertNode(const Context& context, Node& node);

/// Records for the list of changes that a node leaves its name in its folder.
/// REQUIRES: the node still has that name.
void vacate(const Context& context, const Node& node, std::int64_t seq);

/// Removes such a record, since another node takes the name.
void occupy(const Context& context, std::int64_t parent, const std::string& name);

}  // namespace storage::kvxstore
