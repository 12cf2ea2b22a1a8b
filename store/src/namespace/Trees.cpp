#include "namespace/Trees.h"

#include <queue>
#include <utility>

#include "core/Text.h"
#include "namespace/BulkInsert.h"
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

/// The bytes of all versions of the files in a tree.
std::int64_t sizeOfVersions(const Context& context, const Node& node) {
    return context.database.number(
        belowNode +
            "select coalesce(cast(sum(c.size) as bigint), 0) from tree t"
            " join versions v on v.node = t.id join contents c on c.id = v.content",
        {node.id});
}

/// The bytes of the files below a folder.
std::int64_t sizeBelow(const Context& context, const Node& folder) {
    return context.database.number(
        "with recursive folders(id) as (select cast($1 as bigint)"
        " union all select n.id from nodes n join folders f on n.parent = f.id where n.kind = 0)"
        " select coalesce(cast(sum(n.size) as bigint), 0) from folders f"
        " join nodes n on n.parent = f.id",
        {folder.id});
}

/// Counts a tree in another bucket, and returns the change of that bucket.
std::int64_t changeBucket(const Context& context, const ResolvedPath& source,
                          const BucketRow& target, std::int64_t replaced) {
    const Node& node = source.node();
    const std::int64_t size = sizeOfVersions(context, node);
    vacate(context, node, advance(context, node.bucket, -size));
    const std::int64_t seq = advance(context, target.id, size, replaced);
    const auto run = [&](const std::string& sql, std::initializer_list<database::Value> values) {
        context.database.post(belowNode + sql + " in (select id from tree)", values);
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
        "with recursive tree(id, path) as (select id, substr(name, 1, 0) from nodes where id = $1"
        " union all select n.id, t.path || '/' || n.name from nodes n"
        " join tree t on n.parent = t.id where n.kind = 0 and length(t.path) <= $2)"
        " select t.path || '/' || n.name from tree t join nodes n on n.parent = t.id"
        " where octet_length(t.path) + $3 >= $2",
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

/// Copies all below a folder into its copy, which is the newest node.
void copyBelow(const Context& context, const Node& source, const Node& copy, std::size_t length) {
    struct Folder {
        std::int64_t source;
        std::int64_t copy;
        std::size_t length;
    };
    BulkInsert<11> nodes(context.database,
                         "nodes(id, bucket, parent, name, kind, seq, size, label, created,"
                         " modified, client_modified)");
    BulkInsert<6> versions(context.database,
                           "versions(node, label, content, content_type, created, checksum)");
    std::int64_t newest = copy.id;
    std::queue<Folder> pending;
    for (pending.push({source.id, copy.id, length}); !pending.empty(); pending.pop()) {
        const Folder folder = pending.front();
        const auto rows = context.database.query(
            "select n.id, n.name, n.kind, n.size, n.client_modified, v.content, v.content_type,"
            " v.checksum from nodes n left join versions v on v.node = n.id and v.label = n.label"
            " where n.parent = $1",
            {folder.source});
        while (rows->next()) {
            const std::string_view name = rows->bytes(1);
            const std::int64_t kind = rows->integer(2);
            const std::int64_t label = Kind(kind) == Kind::FILE ? 1 : 0;
            const std::size_t below = folder.length + 1 + toUtf16(name).size();
            if (below > longestPath) {
                refuse(ErrorCode::ILLEGAL_PATH);
            }
            newest = context.database.idAfter("nodes", newest);
            nodes.add({newest, copy.bucket, folder.copy, name, kind, copy.seq, rows->integer(3),
                       label, copy.created, copy.created, rows->integer(4)});
            if (Kind(kind) == Kind::FOLDER) {
                pending.push({rows->integer(0), newest, below});
            } else if (const std::int64_t content = rows->integer(5); content != 0) {
                versions.add({newest, label, content, database::FreeText{rows->bytes(6)},
                              copy.created, rows->integer(7)});
            } else {
                database::throwDamaged("the file \"" + std::string(name) + "\" has no content");
            }
        }
    }
    nodes.finish();
    versions.finish();
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
    context.database.post("update nodes set parent = $2, name = $3, seq = $4 where id = $1",
                          {node.id, target.parent().id, target.name(), seq});
    occupy(context, target.parent().id, target.name());
}

void copyTree(const Context& context, const Node& source, const ResolvedPath& target) {
    const std::int64_t replaced = clearTarget(context, target);
    Node node = source;
    node.bucket = target.bucket.id;
    node.parent = target.parent().id;
    node.name = target.name();
    node.seq =
        advance(context, node.bucket,
                source.kind == Kind::FILE ? source.size : sizeBelow(context, source), replaced);
    node.created = node.modified = context.now();
    if (node.kind == Kind::FILE) {
        node.label = 1;
        insertNode(context, node);
        addVersion(context, node, findVersion(context, source, {}, source.label));
    } else {
        insertNode(context, node);
        copyBelow(context, source, node, pathLength(target));
    }
}

}  // namespace storage::kvxstore
