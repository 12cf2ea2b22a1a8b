#include "maintenance/Cleaning.h"

#include <chrono>
#include <utility>

#include "maintenance/Leases.h"
#include "namespace/Deletion.h"

namespace storage::kvxstore {

namespace {

using database::Connection;

constexpr std::int64_t workAtOnce = 256;
constexpr std::int64_t chunksAtOnce = 16;
/// How long an expired session differs from one that never existed.
constexpr std::chrono::nanoseconds sessionMemory = std::chrono::hours(24);

bool isInUse(Connection& database, std::int64_t content) {
    return database.number(
               "select exists(select 1 from versions where content = $1)"
               " or exists(select 1 from downloads where content = $1)"
               " or exists(select 1 from handles where base = $1)"
               " or exists(select 1 from handles where work = $1)",
               {content}) != 0;
}

/// Deletes some chunks of the first content in the garbage, and the content with its last one.
/// Returns the amount of work, 0 when the garbage is empty.
std::int64_t collectGarbage(Connection& database) {
    const auto first = database.query("select content from garbage limit 1");
    if (!first->next()) {
        return 0;
    }
    const std::int64_t content = first->integer(0);
    std::int64_t work = 1;
    if (!isInUse(database, content)) {
        const auto extents =
            collect(database.query("select idx, chunk from extents where content = $1 limit $2",
                                   {content, chunksAtOnce}),
                    [](const auto& row) { return std::pair(row.integer(0), row.integer(1)); });
        for (const auto& [idx, chunk] : extents) {
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

bool clean(Connection& database, std::int64_t instance, std::int64_t now) {
    closeLostHandles(database, instance, now);
    forgetExpired(database, now);
    if (database.isReadOnly()) {
        return false;
    }
    bool more = purgeTrash(database);
    for (std::int64_t left = workAtOnce; left > 0;) {
        const std::int64_t work = collectGarbage(database);
        if (work == 0) {
            break;
        }
        left -= work;
        more = true;
    }
    return more;
}

}  // namespace storage::kvxstore
