#include "namespace/Places.h"

#include <algorithm>
#include <utility>

#include "core/Text.h"
#include "namespace/Caller.h"
#include "namespace/LookupCache.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

const std::string selectBucket = "select id, name, root, owner from buckets where ";
const std::string selectBucketById = selectBucket + "id = $1";
const std::string selectBucketByName = selectBucket + "name = $1";
const std::string selectOwnBucket =
    selectBucket + "owner = $1 and name = (select name from users where id = $1)";

bool readBucket(const database::Rows& row, BucketRow& bucket) {
    if (!row->next()) {
        return false;
    }
    bucket = {row->integer(0), row->text(1), row->integer(2), row->integer(3)};
    return true;
}

/// The user's right to a node in a folder to which he has another.
Right rightTo(const Context& context, std::int64_t user, const Node& node, Right inherited) {
    if (inherited == Right::OWN || !node.shared) {
        return inherited;
    }
    const Right granted{context.database.number(
        "select coalesce(max(level), 0) from grants where node = $1 and grantee = $2",
        {node.id, user})};
    return std::max(inherited, granted);
}

/// Adds a node to the end of the chain.
void append(const Context& context, Place& place, Node node) {
    const Right initial = place.bucket.owner == place.user ? Right::OWN : Right::NONE;
    const Right inherited = place.chain.empty() ? initial : place.chain.back().right;
    node.right = rightTo(context, place.user, node, inherited);
    place.chain.push_back(std::move(node));
}

Place rootOf(const Context& context, std::int64_t user, const std::string& bucket) {
    Place place;
    place.user = user;
    if (!readBucket(bucket.empty() ? context.database.query(selectOwnBucket, {place.user})
                                   : context.database.query(selectBucketByName, {bucket}),
                    place.bucket)) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    std::optional<Node> root = findNode(context, place.bucket.root);
    if (!root) {
        throw database::DatabaseError(database::Fault::OTHER,
                                      "the store is damaged: a bucket has no root");
    }
    append(context, place, *std::move(root));
    return place;
}

/// As far as it exists.
Place folderAt(const Context& context, std::int64_t user, const std::string& bucket,
               const std::vector<std::string>& names) {
    std::string key = std::to_string(user);
    for (const std::string& name : names) {
        key.append(1, '/').append(name);
    }
    // No name has a zero in it, but the bucket that is asked for may have anything.
    key.append(1, '\0').append(bucket);
    LookupCache& cache = LookupCache::on(context.database);
    if (const Place* folder = cache.folder(key)) {
        return *folder;
    }
    Place place = rootOf(context, user, bucket);
    for (const std::string& name : names) {
        enter(context, place, name);
    }
    if (place.exists() && place.chain.back().kind == Kind::FOLDER) {
        cache.addFolder(std::move(key), place);
    }
    return place;
}

kvxclient::Resource resourceOf(const Place& place, std::size_t depth) {
    std::string path;
    for (std::size_t i = 0; i < depth; ++i) {
        path += '/' + place.names[i];
    }
    return {path.empty() ? u"/" : toUtf16(path), toUtf16(place.bucket.name)};
}

}  // namespace

bool Place::passesThrough(const Node& node) const {
    return std::any_of(chain.begin(), chain.end(),
                       [&](const Node& step) { return step.id == node.id; });
}

const Node& Place::node(Right needed) const {
    if (!exists() || chain.back().right == Right::NONE) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    if (chain.back().right < needed) {
        refuse(KVXClientErrorCode::UNAUTHORIZED);
    }
    return chain.back();
}

const Node& Place::node(Kind kind, Right needed) const {
    if (node().kind != kind) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    return node(needed);
}

const Node& Place::parent() const {
    if (names.empty()) {
        refuse(KVXClientErrorCode::CONFLICT);
    }
    if (chain.size() < names.size() || chain[names.size() - 1].kind != Kind::FOLDER) {
        refuse(KVXClientErrorCode::PARENT_RESOURCE_NOT_FOUND);
    }
    if (chain[names.size() - 1].right < Right::WRITE) {
        refuse(KVXClientErrorCode::UNAUTHORIZED);
    }
    return chain[names.size() - 1];
}

kvxclient::Resource Place::resource() const { return resourceOf(*this, names.size()); }

kvxclient::Resource Place::parentResource() const { return resourceOf(*this, names.size() - 1); }

Place locate(const Context& context, const kvxclient::Resource& resource) {
    const std::int64_t user = requireUser(context);
    std::vector<std::string> folders = splitPath(resource.getPath());
    const std::string bucket = resource.getUTF8Bucket();
    Place place;
    if (folders.empty()) {
        place = rootOf(context, user, bucket);
    } else {
        const std::string name = std::move(folders.back());
        folders.pop_back();
        place = folderAt(context, user, bucket, folders);
        enter(context, place, name);
    }
    if (place.chain.back().right == Right::NONE) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    return place;
}

void enter(const Context& context, Place& place, const std::string& name) {
    if (place.exists() && place.chain.back().kind == Kind::FOLDER) {
        if (std::optional<Node> child = findChild(context, place.chain.back().id, name)) {
            append(context, place, *std::move(child));
        }
    }
    place.names.push_back(name);
}

Place placeOf(const Context& context, std::int64_t user, std::int64_t node) {
    std::vector<Node> upwards;
    while (node > 0) {
        std::optional<Node> step = findNode(context, node);
        // The depth is that of no path, but of a circle in a damaged store.
        if (!step || upwards.size() > longestPath) {
            return {};
        }
        node = step->parent;
        upwards.push_back(*std::move(step));
    }
    Place place;
    place.user = user;
    if (node != rootParent || upwards.empty() ||
        !readBucket(context.database.query(selectBucketById, {upwards.back().bucket}),
                    place.bucket)) {
        return {};
    }
    for (auto step = upwards.rbegin(); step != upwards.rend(); ++step) {
        if (step != upwards.rbegin()) {
            place.names.push_back(step->name);
        }
        append(context, place, std::move(*step));
    }
    return place;
}

void forEachChild(const Context& context, std::int64_t user, const Node& folder,
                  const std::function<void(const Node&)>& visit) {
    const auto rows = selectChildren(context, folder.id);
    while (rows->next()) {
        Node node = readNode(*rows);
        node.right = rightTo(context, user, node, folder.right);
        visit(node);
    }
}

}  // namespace storage::kvxstore::operations
