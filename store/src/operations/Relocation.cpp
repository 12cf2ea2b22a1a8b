#include "operations/Relocation.h"

#include <utility>
#include <vector>

#include "operations/Contents.h"
#include "operations/Places.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

struct Relocation {
    Place source;
    Place target;

    Relocation(const Context& context, const kvxclient::MoveOrCopyRequest& request)
        : source(locate(context, request.getSource())),
          target(locate(context, request.getTarget())) {
        const Node& node = source.node();
        if (target.passesThrough(node)) {
            refuse(KVXClientErrorCode::CONFLICT);
        }
        target.parent();
        if (target.exists() && (!request.getTargetOverwrite() || target.node().kind != node.kind ||
                                source.passesThrough(target.node()))) {
            refuse(KVXClientErrorCode::CONFLICT);
        }
    }

    void clearTarget(const Context& context, std::int64_t seq) const {
        if (target.exists()) {
            moveToTrash(context, target.node(), seq);
        }
    }
};

/// The bytes in use below a node, itself included: of all versions, or of the current ones.
std::int64_t sizeOfTree(const Context& context, const Node& node, bool allVersions) {
    constexpr std::string_view ofAll =
        "with recursive tree(id) as (select cast($1 as bigint)"
        " union all select n.id from nodes n join tree t on n.parent = t.id)"
        " select coalesce(cast(sum(c.size) as bigint), 0) from tree t"
        " join versions v on v.node = t.id join contents c on c.id = v.content";
    constexpr std::string_view ofCurrent =
        "with recursive tree(id, size) as (select id, size from nodes where id = $1"
        " union all select n.id, n.size from nodes n join tree t on n.parent = t.id)"
        " select cast(sum(size) as bigint) from tree";
    return context.database.number(allVersions ? ofAll : ofCurrent, {node.id});
}

/// Counts all below a node, itself included, in another bucket.
std::int64_t changeBucket(const Context& context, const Node& node, std::int64_t target) {
    const std::int64_t size = sizeOfTree(context, node, true);
    advance(context, node.bucket, -size);
    const std::int64_t seq = advance(context, target, size);
    context.database.execute(
        "with recursive tree(id) as (select cast($1 as bigint)"
        " union all select n.id from nodes n join tree t on n.parent = t.id)"
        " update nodes set bucket = $2, seq = $3 where id in (select id from tree)",
        {node.id, target, seq});
    return seq;
}

/// Copies the children of one folder into another, new one.
void copyChildren(const Context& context, std::int64_t source, const Node& target) {
    context.database.execute(
        "insert into nodes(bucket, parent, name, kind, seq, size, label, created, modified,"
        " client_modified) select $1, $2, name, kind, $3, size, kind, $4, $4, client_modified"
        " from nodes where parent = $5",
        {target.bucket, target.id, target.seq, target.created, source});
    context.database.execute(
        "insert into versions(node, label, content, content_type, created)"
        " select n.id, n.label, v.content, v.content_type, n.created from nodes n"
        " join nodes o on o.parent = $2 and o.name = n.name"
        " join versions v on v.node = o.id and v.label = o.label where n.parent = $1",
        {target.id, source});
}

/// The folders in one folder, each with its namesake in another.
std::vector<std::pair<std::int64_t, std::int64_t>> folderPairs(const Context& context,
                                                               std::int64_t source,
                                                               std::int64_t target) {
    const auto rows = context.database.query(
        "select o.id, n.id from nodes n join nodes o on o.parent = $2 and o.name = n.name"
        " where n.parent = $1 and n.kind = 0",
        {target, source});
    std::vector<std::pair<std::int64_t, std::int64_t>> pairs;
    while (rows->next()) {
        pairs.emplace_back(rows->integer(0), rows->integer(1));
    }
    return pairs;
}

void copyTree(const Context& context, const Node& source, const Node& target) {
    std::vector<std::pair<std::int64_t, std::int64_t>> pending{{source.id, target.id}};
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        Node folder = target;
        folder.id = to;
        copyChildren(context, from, folder);
        const auto pairs = folderPairs(context, from, to);
        pending.insert(pending.end(), pairs.begin(), pairs.end());
    }
}

}  // namespace

kvxclient::MoveOrCopyResponse move(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request) {
    const Relocation relocation(context, request);
    const Node& node = relocation.source.node();
    // A root cannot leave its bucket.
    relocation.source.parent();
    const std::int64_t bucket = relocation.target.bucket.id;
    const std::int64_t seq =
        node.bucket == bucket ? advance(context, bucket, 0) : changeBucket(context, node, bucket);
    relocation.clearTarget(context, seq);
    context.database.execute(
        "update nodes set parent = $2, name = $3, seq = $4 where id = $1",
        {node.id, relocation.target.parent().id, relocation.target.name(), seq});
    return {};
}

kvxclient::MoveOrCopyResponse copy(const Context& context,
                                   const kvxclient::MoveOrCopyRequest& request) {
    const Relocation relocation(context, request);
    const Node& source = relocation.source.node();
    Node node = source;
    node.bucket = relocation.target.bucket.id;
    node.parent = relocation.target.parent().id;
    node.name = relocation.target.name();
    node.seq = advance(context, node.bucket, sizeOfTree(context, source, false));
    node.created = node.modified = context.now();
    relocation.clearTarget(context, node.seq);
    if (node.kind == Kind::FILE) {
        node.label = 1;
        insertNode(context, node);
        addVersion(context, node, findVersion(context, source, {}, source.label));
    } else {
        insertNode(context, node);
        copyTree(context, source, node);
    }
    return {};
}

}  // namespace storage::kvxstore::operations
