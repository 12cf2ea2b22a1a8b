#include "namespace/Deletion.h"

#include <algorithm>
#include <limits>
#include <map>
#include <string_view>
#include <vector>

#include "namespace/Charges.h"

namespace storage::kvxstore {

namespace {

constexpr std::int64_t childrenAtOnce = 256;
constexpr std::int64_t all = std::numeric_limits<std::int64_t>::max();

struct DeletedNode {
    std::int64_t id = 0;
    std::int64_t bucket = 0;
    Kind kind = Kind::FOLDER;
    bool shared = false;
};

std::vector<DeletedNode> collectNodes(const database::Rows& rows) {
    return collect(rows, [](const auto& row) {
        return DeletedNode{row.integer(0), row.integer(1), Kind(row.integer(2)),
                           row.integer(3) != 0};
    });
}

/// Removes deleted nodes, what lies below a folder before the folder.
class Purger {
public:
    Purger(database::Connection& database, std::vector<DeletedNode> nodes)
        : database_(database), pending_(std::move(nodes)) {}

    /// Removes up to so many nodes, and returns the bytes that stop counting.
    std::int64_t run(std::int64_t most) {
        while (!pending_.empty() && removed_ < most) {
            const DeletedNode node = pending_.back();
            if (node.kind == Kind::FOLDER && descend(node)) {
                continue;
            }
            pending_.pop_back();
            remove(node);
        }
        std::int64_t total = 0;
        for (const auto& [bucket, bytes] : freed_) {
            // That of a user who was removed is gone.
            if (database_.buckets().find(bucket) != nullptr) {
                database_.buckets().count(bucket, {-bytes, 0, 0});
            }
            total += bytes;
        }
        return total;
    }

private:
    /// Makes some children of the folder the next to be removed; false when it has none.
    bool descend(const DeletedNode& folder) {
        const auto children = collectNodes(
            database_.query("select id, bucket, kind, shared from nodes where parent = $1 limit $2",
                            {folder.id, childrenAtOnce}));
        pending_.insert(pending_.end(), children.begin(), children.end());
        return !children.empty();
    }

    void remove(const DeletedNode& node) {
        if (node.kind == Kind::FILE) {
            const std::int64_t size = database_.number(
                "select coalesce(cast(sum(c.size) as bigint), 0) from versions v"
                " join contents c on c.id = v.content where v.node = $1",
                {node.id});
            freed_[node.bucket] +=
                size - discardVersions(database_, node.id, node.bucket, {0, all});
        } else {
            database_.post("delete from vacated where parent = $1", {node.id});
        }
        if (node.shared) {
            database_.post("delete from grants where node = $1", {node.id});
            database_.post("delete from invitations where node = $1", {node.id});
        }
        database_.post("delete from policies where node = $1", {node.id});
        database_.post("delete from nodes where id = $1", {node.id});
        ++removed_;
    }

    database::Connection& database_;
    std::vector<DeletedNode> pending_;
    std::map<std::int64_t, std::int64_t> freed_;
    std::int64_t removed_ = 0;
};

Purge purgeSome(database::Connection& database, std::vector<DeletedNode> nodes, std::int64_t most) {
    const bool more = !nodes.empty();
    return {Purger(database, std::move(nodes)).run(most), more};
}

}  // namespace

void softDelete(const Context& context, const Node& node, std::int64_t seq) {
    vacate(context, node, seq);
    context.database.post(
        "update nodes set parent = $2, name = cast(id as text), seq = $3 where id = $1",
        {node.id, trashOf(node.bucket), seq});
}

Purge purgeTrash(database::Connection& database) {
    const auto first = database.query("select bucket from nodes where parent < 0 limit 1");
    return first->next() ? purgeTrashIn(database, first->integer(0)) : Purge();
}

Purge purgeTrashIn(database::Connection& database, std::int64_t bucket) {
    constexpr std::int64_t most = 256;
    // Whoever moves something into the trash or out of it holds the bucket.
    database.buckets().need({bucket});
    return purgeSome(database,
                     collectNodes(database.query(
                         "select id, bucket, kind, shared from nodes where parent = $1 limit $2",
                         {trashOf(bucket), most})),
                     most);
}

Purge purgeTrashOf(database::Connection& database, std::int64_t user) {
    constexpr std::int64_t most = 1'024;
    database.buckets().need(bucketsOf(database, user));
    const auto nodes = database.query(
        "select n.id, n.bucket, n.kind, n.shared from buckets b"
        " join nodes n on n.parent = -b.id where b.owner = $1 limit $2",
        {user, most});
    return purgeSome(database, collectNodes(nodes), most);
}

std::vector<std::int64_t> bucketsOf(database::Connection& database, std::int64_t user) {
    return collect(database.query("select id from buckets where owner = $1", {user}),
                   [](const auto& row) { return row.integer(0); });
}

void purgeTree(database::Connection& database, std::int64_t node) {
    Purger(database, collectNodes(database.query(
                         "select id, bucket, kind, shared from nodes where id = $1", {node})))
        .run(all);
}

std::int64_t bytesInTrash(database::Connection& database, std::int64_t user, std::int64_t enough) {
    auto folders = collect(database.query("select id from buckets where owner = $1", {user}),
                           [](const auto& row) { return trashOf(row.integer(0)); });
    std::int64_t bytes = 0;
    while (bytes < enough && !folders.empty()) {
        const auto children = database.query(
            "select n.id, n.kind, (select coalesce(cast(sum(c.size) as bigint), 0) from versions v"
            " join contents c on c.id = v.content where v.node = n.id) from nodes n"
            " where n.parent = $1",
            {folders.back()});
        folders.pop_back();
        while (bytes < enough && children->next()) {
            if (Kind(children->integer(1)) == Kind::FOLDER) {
                folders.push_back(children->integer(0));
            } else {
                bytes += children->integer(2);
            }
        }
    }
    return bytes;
}

}  // namespace storage::kvxstore
