#include "namespace/Deletion.h"

#include <utility>

namespace storage::kvxstore {

namespace {

constexpr std::int64_t nodesAtOnce = 256;

/// Removes a node that has no children.
void purgeNode(database::Connection& database, std::int64_t node, std::int64_t bucket) {
    const std::int64_t size = database.number(
        "select coalesce(cast(sum(c.size) as bigint), 0) from versions v"
        " join contents c on c.id = v.content where v.node = $1",
        {node});
    database.execute("update buckets set used = used - $2 where id = $1", {bucket, size});
    database.execute(
        "insert into garbage(content) select content from versions where node = $1"
        " on conflict do nothing",
        {node});
    for (const std::string_view sql :
         {"delete from versions where node = $1", "delete from grants where node = $1",
          "delete from invitations where node = $1", "delete from policies where node = $1",
          "delete from vacated where parent = $1", "delete from nodes where id = $1"}) {
        database.execute(sql, {node});
    }
}

}  // namespace

void softDelete(const Context& context, const Node& node, std::int64_t seq) {
    vacate(context, node, seq);
    context.database.execute(
        "update nodes set parent = $2, name = cast(id as text), seq = $3 where id = $1",
        {node.id, trashOf(node.bucket), seq});
}

bool purgeTrash(database::Connection& database) {
    std::int64_t left = nodesAtOnce;
    const auto nodes = collect(
        database.query("select id, bucket from nodes where parent < 0 limit $1", {nodesAtOnce}),
        [](const auto& row) { return std::pair(row.integer(0), row.integer(1)); });
    for (const auto& [node, bucket] : nodes) {
        if (left <= 0) {
            break;
        }
        const std::int64_t moved = database.execute(
            "update nodes set parent = $2, name = cast(id as text)"
            " where id in (select id from nodes where parent = $1 limit $3)",
            {node, trashOf(bucket), left});
        if (moved < left) {
            purgeNode(database, node, bucket);
        }
        left -= moved + 1;
    }
    return !nodes.empty();
}

}  // namespace storage::kvxstore
