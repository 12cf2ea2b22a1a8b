#include "maintenance/Pruning.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "core/Text.h"
#include "maintenance/Verification.h"
#include "namespace/Charges.h"
#include "namespace/Contents.h"
#include "storage/kvxstore/StoreError.h"

namespace storage::kvxstore {

namespace {

constexpr std::int64_t versionsAtOnce = 256;
constexpr std::size_t damagedAtOnce = 10'000;
constexpr std::int64_t ever = std::numeric_limits<std::int64_t>::max();

/// The id of the row with that name; 0, which means any, for an empty name.
std::int64_t findByName(const Context& context, const std::string& table,
                        const std::u16string& name) {
    if (name.empty()) {
        return 0;
    }
    const std::string text = toUtf8(name);
    const auto row = context.database.query("select id from " + table + "s where name = $1",
                                            {isName(name) ? text : std::string()});
    if (!row->next()) {
        throw StoreError(StoreErrorCode::NOT_FOUND, "there is no " + table + " \"" + text + '"');
    }
    return row->integer(0);
}

/// How many versions of a file must be newer than one that may go.
std::int64_t newerNeeded(const PruneRules& rules) {
    return static_cast<std::int64_t>(
        std::clamp<unsigned long>(rules.keepLast.value_or(1), 1, ever));
}

/// Versions made before this time may go.
std::int64_t endOfTime(const Context& context, const PruneRules& rules) {
    if (!rules.keepFor) {
        return ever;
    }
    const std::chrono::nanoseconds now(context.now());
    const auto most = std::chrono::floor<std::chrono::seconds>(now);
    return (now - std::clamp(*rules.keepFor, std::chrono::seconds(0), most)).count();
}

void recountBytes(const Context& context) {
    context.database.buckets().write();
    const auto wrong = collect(context.database.query(miscountedBuckets), [](const auto& row) {
        return std::pair(row.integer(2), row.integer(3));
    });
    std::vector<std::int64_t> ids(wrong.size());
    std::ranges::transform(wrong, ids.begin(), [](const auto& entry) { return entry.first; });
    context.database.buckets().need(ids);
    for (const auto& [bucket, bytes] : wrong) {
        const std::int64_t used = context.database.buckets().find(bucket)->used;
        context.database.buckets().count(bucket, {bytes - used, 0, 0});
    }
}

void letGoOfUnnamed(const Context& context) {
    context.database.execute(
        "insert into garbage(content) select id from contents c"
        " where not exists(select 1 from versions where content = c.id)"
        " and not exists(select 1 from downloads where content = c.id)"
        " and not exists(select 1 from handles where base = c.id)"
        " and not exists(select 1 from handles where work = c.id)"
        " except select content from garbage");
    context.database.execute(
        "delete from chunks where not exists(select 1 from extents where chunk = chunks.id)");
}

}  // namespace

std::vector<OldVersion> findOldVersions(const Context& context, const PruneRules& rules,
                                        const OldVersion& after) {
    if (!rules.keepLast && !rules.keepFor) {
        throw StoreError("no rule says which versions to keep");
    }
    return collect(
        context.database.query(
            "select v.node, v.label, c.size, c.stored, c.checksum, v.checksum from versions v"
            " join nodes n on n.id = v.node"
            " join contents c on c.id = v.content where (v.node, v.label) > ($1, $2)"
            " and v.label < n.label and v.created < $3"
            " and exists(select 1 from versions w where w.node = v.node and w.label > v.label"
            " order by w.label limit 1 offset $4 - 1)"
            " and ($5 = 0 or n.bucket = $5) and ($6 = 0 or exists(select 1 from buckets b"
            " where b.id = n.bucket and b.owner = $6)) order by v.node, v.label limit $7",
            {after.node, after.label, endOfTime(context, rules), newerNeeded(rules),
             findByName(context, "bucket", rules.bucket), findByName(context, "user", rules.user),
             versionsAtOnce}),
        [](const auto& row) {
            Content content;
            content.size = row.integer(2);
            content.stored = row.integer(3);
            content.checksum = row.integer(4);
            const std::int64_t expected = row.integer(5);
            return OldVersion{
                row.integer(0), row.integer(1), content.size,
                content.size < 0 || (expected != 0 && rowChecksumOf(content) != expected)};
        });
}

DamagedVersions findDamagedVersions(const Context& context) {
    DamagedVersions found;
    verify(context, [&](const FoundDamage& damage) {
        if (!damage.mendable) {
            found.worse = true;
        } else if (damage.version == 0) {
            found.mendable = true;
        } else if (found.old.size() < damagedAtOnce) {
            found.old.push_back(
                {damage.node, damage.version, static_cast<std::int64_t>(damage.size)});
        } else {
            found.more = true;
        }
    });
    return found;
}

Pruned countVersions(const std::vector<OldVersion>& versions) {
    Pruned pruned;
    for (const OldVersion& version : versions) {
        if (version.isDamaged) {
            continue;
        }
        pruned.versions += 1;
        pruned.bytes += static_cast<unsigned long>(version.size);
    }
    return pruned;
}

Pruned removeVersions(const Context& context, const std::vector<OldVersion>& versions) {
    context.database.requireWritable();
    std::vector<OldVersion> removed;
    for (const OldVersion& version : versions) {
        const auto row = context.database.query(
            "select n.bucket from versions v join nodes n on n.id = v.node"
            " where v.node = $1 and v.label = $2 and v.label < n.label",
            {version.node, version.label});
        if (version.isDamaged || !row->next()) {
            continue;
        }
        const std::int64_t bucket = row->integer(0);
        const bool isThere = context.database.buckets().find(bucket) != nullptr;
        const std::int64_t charged =
            discardVersions(context.database, version.node, bucket, {version.label, version.label});
        if (isThere) {
            context.database.buckets().count(bucket, {charged - version.size, 0, 0});
        }
        removed.push_back(version);
    }
    return countVersions(removed);
}

Pruned removeDamagedVersions(const Context& context, const DamagedVersions& versions) {
    const Pruned pruned = removeVersions(context, versions.old);
    if (!versions.worse && !versions.more) {
        letGoOfUnnamed(context);
        recountBytes(context);
    }
    return pruned;
}

}  // namespace storage::kvxstore
