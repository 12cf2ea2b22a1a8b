#include "namespace/Node.h"

#include "core/Text.h"

namespace storage::kvxstore {

namespace {

const std::string selectNode =
    "select id, bucket, parent, name, kind, seq, size, label, created, modified, client_modified,"
    " shared from nodes where ";
const std::string selectNodeById = selectNode + "id = $1";
const std::string selectNodeByName = selectNode + "parent = $1 and name = $2";
const std::string selectNodesByParent = selectNode + "parent = $1 order by name";

std::optional<Node> readFirst(const database::Rows& rows) {
    return rows->next() ? std::optional(readNode(*rows)) : std::nullopt;
}

}  // namespace

AccessType accessTypeOf(Right right) {
    return right == Right::OWN     ? AccessType::OWNER
           : right == Right::WRITE ? AccessType::READ_WRITE
                                   : AccessType::READ_ONLY;
}

std::optional<Node> findNode(const Context& context, std::int64_t id) {
    return readFirst(context.database.query(selectNodeById, {id}));
}

std::optional<Node> findChild(const Context& context, std::int64_t folder,
                              const std::string& name) {
    return readFirst(context.database.query(selectNodeByName, {folder, name}));
}

void primeChild(const Context& context, std::int64_t folder, const std::string& name) {
    context.database.prime(selectNodeByName, {folder, name});
}

void holdOtherChildren(const Context& context, std::int64_t folder, const std::string& name) {
    context.database.holdPrimed(selectNodeByName, {folder, name});
}

database::Rows selectChildren(const Context& context, std::int64_t folder) {
    return context.database.query(selectNodesByParent, {folder});
}

std::vector<Node> climb(const Context& context, std::int64_t id,
                        const std::function<bool(std::int64_t)>& isKnown) {
    constexpr std::size_t mostLevels = longestPath / 2;
    std::vector<Node> upwards;
    while (id > 0 && !isKnown(id)) {
        std::optional<Node> step = findNode(context, id);
        if (!step) {
            break;
        }
        if (upwards.size() > mostLevels) {
            database::throwDamaged("the folder \"" + step->name + "\" lies below itself");
        }
        id = step->parent;
        upwards.push_back(*std::move(step));
    }
    return upwards;
}

Node readNode(const database::Statement& row) {
    Node node{row.integer(0),       row.integer(1), row.integer(2), row.text(3),
              Kind(row.integer(4)), row.integer(5), row.integer(6), row.integer(7),
              row.integer(8),       row.integer(9), row.integer(10)};
    node.shared = row.integer(11) != 0;
    return node;
}

bool hasChildren(const Context& context, const Node& folder) {
    return context.database.query("select 1 from nodes where parent = $1 limit 1", {folder.id})
        ->next();
}

void insertNode(const Context& context, Node& node) {
    node.id = context.database.insert(
        "nodes", "bucket, parent, name, kind, seq, size, label, created, modified, client_modified",
        {node.bucket, node.parent, node.name, static_cast<std::int64_t>(node.kind), node.seq,
         node.size, node.label, node.created, node.modified, node.clientModified});
    occupy(context, node.parent, node.name);
}

void vacate(const Context& context, const Node& node, std::int64_t seq) {
    context.database.post(
        "insert into vacated(parent, name, bucket, seq, node, kind) values($1, $2, $3, $4, $5, $6)"
        " on conflict(parent, name) do update set bucket = excluded.bucket, seq = excluded.seq,"
        " node = excluded.node, kind = excluded.kind",
        {node.parent, node.name, node.bucket, seq, node.id, static_cast<std::int64_t>(node.kind)});
}

void occupy(const Context& context, std::int64_t parent, const std::string& name) {
    context.database.post("delete from vacated where parent = $1 and name = $2", {parent, name});
}

}  // namespace storage::kvxstore
