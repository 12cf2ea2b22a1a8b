#include "maintenance/Cleaning.h"

#include <chrono>
#include <utility>
#include <vector>

#include "operations/Handles.h"

namespace storage::kvxstore::operations {

namespace {

using database::Connection;

constexpr std::int64_t nodesAtOnce = 256;
constexpr std::int64_t chunksAtOnce = 16;
/// How long an expired session is told from one that never was.
constexpr std::chrono::nanoseconds sessionMemory = std::chrono::hours(24);

using Pair = std::pair<std::int64_t, std::int64_t>;

std::vector<Pair> pairs(Connection& database, std::string_view sql,
                        std::initializer_list<database::Value> values) {
    const auto rows = database.query(sql, values);
    std::vector<Pair> found;
    while (rows->next()) {
        found.emplace_back(rows->integer(0), rows->integer(1));
    }
    return found;
}

/// Removes a node that has no children.
void purgeNode(Connection& database, std::int64_t node, std::int64_t bucket) {
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

bool isInUse(Connection& database, std::int64_t content) {
    return database.number(
               "select exists(select 1 from versions where content = $1)"
               " or exists(select 1 from downloads where content = $1)"
               " or exists(select 1 from handles where base = $1)"
               " or exists(select 1 from handles where work = $1)",
               {content}) != 0;
}

/// Deletes some chunks of the first content in the garbage, and the content with its last one.
/// Returns how much work that was, 0 when there was none.
std::int64_t collectGarbage(Connection& database) {
    const auto first = database.query("select content from garbage limit 1");
    if (!first->next()) {
        return 0;
    }
    const std::int64_t content = first->integer(0);
    std::int64_t work = 1;
    if (!isInUse(database, content)) {
        for (const auto& [idx, chunk] :
             pairs(database, "select idx, chunk from extents where content = $1 limit $2",
                   {content, chunksAtOnce})) {
            database.execute("delete from extents where content = $1 and idx = $2", {content, idx});
            database.execute(
                "delete from chunks where id = $1"
                " and not exists(select 1 from extents where chunk = $1)",
                {chunk});
            ++work;
        }
        if (work > chunksAtOnce) {
            // Full chunks are more work than the small ones of most contents.
            return 4 * work;
        }
        database.execute("delete from contents where id = $1", {content});
    }
    database.execute("delete from garbage where content = $1", {content});
    return work;
}

void forgetExpired(Connection& database, std::int64_t now) {
    database.execute(
        "insert into garbage(content) select content from downloads where expires <= $1"
        " on conflict do nothing",
        {now});
    database.execute("delete from downloads where expires <= $1", {now});
    database.execute("delete from sessions where expires <= $1", {now - sessionMemory.count()});
}

}  // namespace

bool purgeTrash(Connection& database) {
    std::int64_t left = nodesAtOnce;
    const auto nodes = pairs(database, "select id, bucket from nodes where parent = $1 limit $2",
                             {trashParent, nodesAtOnce});
    for (const auto& [node, bucket] : nodes) {
        if (left <= 0) {
            break;
        }
        const std::int64_t moved = database.execute(
            "update nodes set parent = $2, name = cast(id as text)"
            " where id in (select id from nodes where parent = $1 limit $3)",
            {node, trashParent, left});
        if (moved < left) {
            purgeNode(database, node, bucket);
        }
        left -= moved + 1;
    }
    return !nodes.empty();
}

bool clean(Connection& database, std::int64_t instance, std::int64_t now) {
    closeLostHandles(database, instance, now);
    forgetExpired(database, now);
    bool more = purgeTrash(database);
    for (std::int64_t left = nodesAtOnce; left > 0;) {
        const std::int64_t work = collectGarbage(database);
        if (work == 0) {
            break;
        }
        left -= work;
        more = true;
    }
    return more;
}

}  // namespace storage::kvxstore::operations
