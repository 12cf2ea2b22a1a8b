#include "namespace/Trees.h"

#include <utility>
#include <vector>

#include "core/Text.h"
#include "namespace/Deletion.h"
#include "namespace/FileVersions.h"
#include "namespace/Usage.h"

namespace storage::kvxstore {

namespace {

/// The UTF-8 bytes of a name of 255 UTF-16 units.
constexpr std::int64_t mostNameBytes = 3L * 255;

const std::string belowNode =
    "with recursive tree(id) as (select cast($1 as bigint)"
    " union all select n.id from nodes n join tree t on n.parent = t.id) ";

/// The bytes of the files in a tree, of all versions or of the current ones.
std::int64_t sizeOfTree(const Context& context, const Node& node, bool allVersions) {
    static const std::string ofAll =
        belowNode +
        "select coalesce(cast(sum(c.size) as bigint), 0) from tree t"
        " join versions v on v.node = t.id join contents c on c.id = v.content";
    constexpr std::string_view ofCurrent =
        "with recursive tree(id, size) as (select id, size from nodes where id = $1"
        " union all select n.id, n.size from nodes n join tree t on n.parent = t.id)"
        " select cast(sum(size) as bigint) from tree";
    return context.database.number(allVersions ? std::string_view(ofAll) : ofCurrent, {node.id});
}

/// Counts a tree in another bucket, and returns the change of that bucket.
std::int64_t changeBucket(const Context& context, const ResolvedPath& source,
                          const BucketRow& target, std::int64_t replaced) {
    const Node& node = source.node();
    const std::int64_t size = sizeOfTree(context, node, true);
    vacate(context, node, advance(context, node.bucket, -size));
    const std::int64_t seq = advance(context, target.id, size, replaced);
    const auto run = [&](const std::string& sql, std::initializer_list<database::Value> values) {
        context.database.execute(belowNode + sql + " in (select id from tree)", values);
    };
    run("update nodes set bucket = $2, seq = $3 where id", {node.id, target.id, seq});
    run("update vacated set bucket = $2, seq = $3 where parent", {node.id, target.id, seq});
    if (target.owner == source.bucket.owner) {
        run("update grants set seq = $2 where node", {node.id, seq});
    } else {
        // The new owner has shared nothing with anybody.
        run("delete from grants where node", {node.id});
        run("delete from invitations where node", {node.id});
        run("update nodes set shared = 0 where shared <> 0 and id", {node.id});
    }
    return seq;
}

std::size_t pathLength(const ResolvedPath& path) { return path.resource().getPath().size(); }

/// Refuses with ILLEGAL_PATH when a path below the folder would be too long at the target. Reads
/// names only where paths are nearly as long as they may be.
void requireRoomBelow(const Context& context, const Node& folder, const ResolvedPath& target) {
    const std::size_t length = pathLength(target);
    // A path has at least as many bytes, and at most as many code points, as UTF-16 units.
    const auto rows = context.database.query(
        "with recursive tree(id, path) as (select cast($1 as bigint), ''"
        " union all select n.id, t.path || '/' || n.name from nodes n"
        " join tree t on n.parent = t.id where n.kind = 0 and length(t.path) <= $2)"
        " select t.path || '/' || n.name from tree t join nodes n on n.parent = t.id"
        " where length(cast(t.path as blob)) + $3 >= $2",
        {folder.id, static_cast<std::int64_t>(longestPath - length), mostNameBytes});
    while (rows->next()) {
        if (length + toUtf16(rows->bytes(0)).size() > longestPath) {
            refuse(ErrorCode::ILLEGAL_PATH);
        }
    }
}

/// Deletes what is to be overwritten, before room is needed for its replacement. Returns the node,
/// 0 when there is none.
std::int64_t clearTarget(const Context& context, const ResolvedPath& target) {
    if (!target.exists()) {
        return 0;
    }
    softDelete(context, target.node(), advance(context, target.bucket.id));
    return target.node().id;
}

/// Copies the children of a folder into a new folder.
void copyChildren(const Context& context, std::int64_t source, const Node& target) {
    context.database.execute(
        "insert into nodes(bucket, parent, name, kind, seq, size, label, created, modified,"
        " client_modified) select $1, $2, name, kind, $3, size, kind, $4, $4, client_modified"
        " from nodes where parent = $5",
        {target.bucket, target.id, target.seq, target.created, source});
    context.database.execute(
        "insert into versions(node, label, content, content_type, created, checksum)"
        " select n.id, n.label, v.content, v.content_type, n.created, v.checksum from nodes n"
        " join nodes o on o.parent = $2 and o.name = n.name"
        " join versions v on v.node = o.id and v.label = o.label where n.parent = $1",
        {target.id, source});
}

void copyBelow(const Context& context, const Node& source, const Node& target) {
    std::vector<std::pair<std::int64_t, std::int64_t>> pending{{source.id, target.id}};
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        Node folder = target;
        folder.id = to;
        copyChildren(context, from, folder);
        const auto folders = context.database.query(
            "select o.id, n.id from nodes n join nodes o on o.parent = $2 and o.name = n.name"
            " where n.parent = $1 and n.kind = 0",
            {to, from});
        while (folders->next()) {
            pending.emplace_back(folders->integer(0), folders->integer(1));
        }
    }
}

}  // namespace

void moveTree(const Context& context, const ResolvedPath& source, const ResolvedPath& target) {
    const Node& node = source.node();
    if (node.kind == Kind::FOLDER && pathLength(target) > pathLength(source)) {
        requireRoomBelow(context, node, target);
    }
    const std::int64_t replaced = clearTarget(context, target);
    std::int64_t seq = 0;
    if (node.bucket == target.bucket.id) {
        seq = advance(context, node.bucket);
        vacate(context, node, seq);
    } else {
        seq = changeBucket(context, source, target.bucket, replaced);
    }
    context.database.execute("update nodes set parent = $2, name = $3, seq = $4 where id = $1",
                             {node.id, target.parent().id, target.name(), seq});
    occupy(context, target.parent().id, target.name());
}

void copyTree(const Context& context, const Node& source, const ResolvedPath& target) {
    if (source.kind == Kind::FOLDER) {
        requireRoomBelow(context, source, target);
    }
    const std::int64_t replaced = clearTarget(context, target);
    Node node = source;
    node.bucket = target.bucket.id;
    node.parent = target.parent().id;
    node.name = target.name();
    node.seq = advance(context, node.bucket, sizeOfTree(context, source, false), replaced);
    node.created = node.modified = context.now();
    if (node.kind == Kind::FILE) {
        node.label = 1;
        insertNode(context, node);
        addVersion(context, node, findVersion(context, source, {}, source.label));
    } else {
        insertNode(context, node);
        copyBelow(context, source, node);
    }
}

}  // namespace storage::kvxstore
