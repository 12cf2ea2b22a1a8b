#include "operations/Places.h"

#include <algorithm>

#include "operations/Maintenance.h"
#include "operations/Sessions.h"
#include "operations/Text.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

const std::string selectNode =
    "select id, bucket, parent, name, kind, seq, size, label, created, modified, client_modified"
    " from nodes where ";
const std::string selectById = selectNode + "id = $1";
const std::string selectByName = selectNode + "parent = $1 and name = $2";
const std::string selectChildren = selectNode + "parent = $1 order by name";

Node readNode(const database::Statement& row) {
    return {row.integer(0),       row.integer(1), row.integer(2), row.text(3),
            Kind(row.integer(4)), row.integer(5), row.integer(6), row.integer(7),
            row.integer(8),       row.integer(9), row.integer(10)};
}

BucketRow openBucket(const Context& context, std::int64_t user, const std::string& name) {
    const auto row = name.empty()
                         ? context.database.query(
                               "select b.id, b.name, b.root from buckets b"
                               " join users u on u.name = b.name and u.id = b.owner"
                               " where u.id = $1",
                               {user})
                         : context.database.query(
                               "select id, name, root from buckets where name = $1 and owner = $2",
                               {name, user});
    if (!row->next()) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    return {row->integer(0), row->text(1), row->integer(2)};
}

bool grow(const Context& context, std::int64_t bucket, std::int64_t growth, std::int64_t& seq) {
    const auto row = context.database.query(
        "update buckets set seq = seq + 1, used = used + $2 where id = $1 and ($2 <= 0 or $2 <="
        " (select u.quota - (select cast(sum(b.used) as bigint) from buckets b"
        " where b.owner = u.id) from users u where u.id = buckets.owner)) returning seq",
        {bucket, growth});
    if (!row->next()) {
        return false;
    }
    seq = row->integer(0);
    return true;
}

}  // namespace

bool Place::passesThrough(const Node& node) const {
    return std::any_of(chain.begin(), chain.end(),
                       [&](const Node& step) { return step.id == node.id; });
}

const Node& Place::node() const {
    if (!exists()) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    return chain.back();
}

const Node& Place::node(Kind kind) const {
    if (node().kind != kind) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    return node();
}

const Node& Place::parent() const {
    if (names.empty()) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    if (chain.size() < names.size() || chain[names.size() - 1].kind != Kind::FOLDER) {
        refuse(KVXClientErrorCode::PARENT_RESOURCE_NOT_FOUND);
    }
    return chain[names.size() - 1];
}

kvxclient::Resource Place::parentResource() const {
    std::string path;
    for (std::size_t i = 0; i + 1 < names.size(); ++i) {
        path += '/' + names[i];
    }
    return {path.empty() ? u"/" : toUtf16(path), toUtf16(bucket.name)};
}

Place locate(const Context& context, const kvxclient::Resource& resource) {
    const std::int64_t user = requireUser(context);
    Place place;
    place.names = splitPath(resource.getPath());
    place.bucket = openBucket(context, user, resource.getUTF8Bucket());
    const auto root = context.database.query(selectById, {place.bucket.root});
    if (!root->next()) {
        throw database::DatabaseError(database::Fault::OTHER,
                                      "the store is damaged: a bucket has no root");
    }
    place.chain.push_back(readNode(*root));
    for (const std::string& name : place.names) {
        if (place.chain.back().kind != Kind::FOLDER) {
            break;
        }
        const auto row = context.database.query(selectByName, {place.chain.back().id, name});
        if (!row->next()) {
            break;
        }
        place.chain.push_back(readNode(*row));
    }
    return place;
}

std::vector<Node> children(const Context& context, const Node& folder) {
    std::vector<Node> nodes;
    const auto rows = context.database.query(selectChildren, {folder.id});
    while (rows->next()) {
        nodes.push_back(readNode(*rows));
    }
    return nodes;
}

bool hasChildren(const Context& context, const Node& folder) {
    return context.database.query("select 1 from nodes where parent = $1 limit 1", {folder.id})
        ->next();
}

void insertNode(const Context& context, Node& node) {
    node.id = context.database.number(
        "insert into nodes(bucket, parent, name, kind, seq, size, label, created, modified,"
        " client_modified) values($1, $2, $3, $4, $5, $6, $7, $8, $9, $10) returning id",
        {node.bucket, node.parent, node.name, static_cast<std::int64_t>(node.kind), node.seq,
         node.size, node.label, node.created, node.modified, node.clientModified});
}

void moveToTrash(const Context& context, const Node& node, std::int64_t seq) {
    context.database.execute(
        "update nodes set parent = $2, name = cast(id as text), seq = $3 where id = $1",
        {node.id, trashParent, seq});
}

std::int64_t advance(const Context& context, std::int64_t bucket, std::int64_t growth) {
    std::int64_t seq = 0;
    if (grow(context, bucket, growth, seq)) {
        return seq;
    }
    // What was deleted counts until it is purged, so it must not be what is in the way.
    while (purgeTrash(context.database)) {
    }
    if (!grow(context, bucket, growth, seq)) {
        refuse(KVXClientErrorCode::QUOTA_EXCEEDED);
    }
    return seq;
}

kvxclient::FileSummary summarizeFile(const Node& node) {
    return kvxclient::FileSummary(toUtf16(node.name))
        .withSize(static_cast<unsigned long>(node.size))
        .withCreated(toTime(node.created))
        .withLastModified(toTime(node.modified))
        .withClientLastModified(toTime(node.clientModified))
        .withWritable(true)
        .withWatermark(std::to_string(node.seq));
}

kvxclient::FolderSummary summarizeFolder(const Node& node) {
    const bool isRoot = node.parent == rootParent;
    return kvxclient::FolderSummary(isRoot ? u"" : toUtf16(node.name))
        .withCreated(toTime(node.created))
        .withLastModified(toTime(node.modified))
        .withClientLastModified(toTime(node.clientModified))
        .withWritable(true)
        .withWatermark(std::to_string(node.seq))
        .withAccessType(kvxclient::AccessType::OWNER);
}

}  // namespace storage::kvxstore::operations
