#include "maintenance/Cleaning.h"

#include <chrono>
#include <utility>

#include "maintenance/Leases.h"
#include "namespace/Charges.h"
#include "namespace/Deletion.h"

namespace storage::kvxstore {

namespace {

using database::Connection;
using database::RowLock;

constexpr std::int64_t workAtOnce = 256;
constexpr std::int64_t chunksAtOnce = 16;
/// How long an expired session differs from one that never existed.
constexpr std::chrono::nanoseconds sessionMemory = std::chrono::hours(24);

enum class Use : std::int64_t { NONE, HELD, NAMED };

/// Whether a version names the content, or else a handle or a download location holds it.
Use useOf(Connection& database, std::int64_t content) {
    return Use(
        database.number("select case when exists(select 1 from versions where content = $1)"
                        " then 2 when exists(select 1 from downloads where content = $1)"
                        " or exists(select 1 from handles where base = $1)"
                        " or exists(select 1 from handles where work = $1)"
                        " then 1 else 0 end",
                        {content}));
}

/// Deletes some chunks of a content that nothing uses. Returns the amount of work.
std::int64_t deleteChunks(Connection& database, std::int64_t content) {
    std::int64_t work = 0;
    const auto extents =
        collect(database.query("select idx, chunk from extents where content = $1 limit $2",
                               {content, chunksAtOnce}),
                [](const auto& row) { return std::pair(row.integer(0), row.integer(1)); });
    for (const auto& [idx, chunk] : extents) {
        database.post("delete from extents where content = $1 and idx = $2", {content, idx});
        database.post(
            "delete from chunks where id = $1"
            " and not exists(select 1 from extents where chunk = $1)",
            {chunk});
        ++work;
    }
    return work;
}

/// Looks at the first content in the garbage. Deletes some chunks of an unused one, and the content
/// with its last one. Returns the amount of work, 0 when there is no garbage.
std::int64_t collectGarbage(Connection& database) {
    const auto first = database.query("select id, content from garbage order by id limit 1");
    if (!first->next()) {
        return 0;
    }
    const std::int64_t content = first->integer(1);
    const Use use = useOf(database, content);
    if (use != Use::HELD) {
        endCharge(database, content);
    }
    std::int64_t work = 1;
    if (use == Use::NONE) {
        work += deleteChunks(database, content);
        if (work > chunksAtOnce) {
            // Full chunks are more work than the small ones of most contents.
            return 4 * work;
        }
        database.post("delete from contents where id = $1", {content});
    }
    // Who lets go of a held content adds it again.
    database.post("delete from garbage where id = $1", {first->integer(0)});
    return work;
}

void forgetExpired(Connection& database, std::int64_t now) {
    deleteExpiredDownloads(database, now);
    database.post("delete from sessions where expires <= $1", {now - sessionMemory.count()});
}

}  // namespace

bool clean(Connection& database, std::int64_t instance, std::int64_t now, RowLock turn) {
    if (hasHandles(database, instance)) {
        renewLease(database, instance, now);
    }
    // One transaction cleans at a time, in all programs.
    if (!database.lock(turn, "select name from locks where name = 'clean'", {})->next()) {
        return false;
    }
    closeLostHandles(database, now);
    forgetExpired(database, now);
    if (database.isReadOnly()) {
        return false;
    }
    bool more = purgeTrash(database).more;
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
