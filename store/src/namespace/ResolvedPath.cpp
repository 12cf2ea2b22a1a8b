#include "namespace/ResolvedPath.h"

#include <algorithm>
#include <utility>

#include "core/Text.h"
#include "namespace/Caller.h"
#include "namespace/LookupCache.h"

namespace storage::kvxstore {

namespace {

constexpr std::size_t mostLevels = 32;

/// The user's right to a node in a folder to which they have the right `inherited`.
Right rightTo(const Context& context, std::int64_t user, const Node& node, Right inherited) {
    if (inherited == Right::OWN || !node.shared) {
        return inherited;
    }
    const Right granted{context.database.number(
        "select coalesce(max(level), 0) from grants where node = $1 and grantee = $2",
        {node.id, user})};
    return std::max(inherited, granted);
}

void append(const Context& context, ResolvedPath& path, Node node) {
    const Right initial = path.bucket.owner == path.user ? Right::OWN : Right::NONE;
    const Right inherited = path.chain.empty() ? initial : path.chain.back().right;
    node.right = rightTo(context, path.user, node, inherited);
    path.chain.push_back(std::move(node));
}

ResolvedPath rootOf(const Context& context, std::int64_t user, const std::string& bucket) {
    ResolvedPath path;
    path.user = user;
    auto& buckets = context.database.buckets();
    const BucketRow* const row = bucket.empty() ? buckets.findOwn(user) : buckets.find(bucket);
    if (row == nullptr) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    path.bucket = *row;
    std::optional<Node> root = findNode(context, path.bucket.root);
    if (!root) {
        database::throwDamaged("a bucket has no root");
    }
    // Every node has one parent, so nothing below a root that has none lies below itself.
    if (root->parent != rootParent) {
        database::throwDamaged("the root of the bucket \"" + path.bucket.name +
                               "\" lies in another folder");
    }
    append(context, path, *std::move(root));
    return path;
}

std::string keyOf(std::int64_t user, const std::string& bucket,
                  const std::vector<std::string>& names) {
    std::string key = std::to_string(user);
    for (const std::string& name : names) {
        key.append(1, '/').append(name);
    }
    // No name contains a NUL.
    return key.append(1, '\0').append(bucket);
}

/// Resolves the path of a folder. The cache keeps it unless it is very deep.
ResolvedPath folderAt(const Context& context, std::int64_t user, const std::string& bucket,
                      const std::vector<std::string>& names) {
    std::string key = keyOf(user, bucket, names);
    LookupCache& cache = LookupCache::on(context.database);
    if (const ResolvedPath* const known = cache.findFolder(key)) {
        return *known;
    }
    ResolvedPath path = rootOf(context, user, bucket);
    for (const std::string& name : names) {
        descend(context, path, name);
    }
    if (path.exists() && path.chain.back().kind == Kind::FOLDER && names.size() < mostLevels) {
        cache.addFolder(std::move(key), path);
    }
    return path;
}

Resource resourceOf(const ResolvedPath& path, std::size_t depth) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i) {
        text += '/' + path.names[i];
    }
    return {text.empty() ? u"/" : toUtf16(text), toUtf16(path.bucket.name)};
}

}  // namespace

bool ResolvedPath::passesThrough(const Node& node) const {
    return std::any_of(chain.begin(), chain.end(),
                       [&](const Node& step) { return step.id == node.id; });
}

const Node& ResolvedPath::node(Right needed) const {
    if (!exists() || chain.back().right == Right::NONE) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    if (chain.back().right < needed) {
        refuse(ErrorCode::UNAUTHORIZED);
    }
    return chain.back();
}

const Node& ResolvedPath::node(Kind kind, Right needed) const {
    if (node().kind != kind) {
        refuse(ErrorCode::CONFLICT);
    }
    return node(needed);
}

const Node& ResolvedPath::parent() const {
    if (names.empty()) {
        refuse(ErrorCode::CONFLICT);
    }
    if (chain.size() < names.size() || chain[names.size() - 1].kind != Kind::FOLDER) {
        refuse(ErrorCode::PARENT_RESOURCE_NOT_FOUND);
    }
    if (chain[names.size() - 1].right < Right::WRITE) {
        refuse(ErrorCode::UNAUTHORIZED);
    }
    return chain[names.size() - 1];
}

Resource ResolvedPath::resource() const { return resourceOf(*this, names.size()); }

Resource ResolvedPath::parentResource() const { return resourceOf(*this, names.size() - 1); }

ResolvedPath resolve(const Context& context, const Resource& resource) {
    if (context.database.sharesWriting()) {
        primeLookups(context, resource);
    }
    const std::int64_t user = requireUser(context);
    std::vector<std::string> folders = splitPath(resource.getPath());
    const std::string bucket = resource.getUTF8Bucket();
    if (!bucket.empty() && !isName(resource.getBucket())) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    ResolvedPath path;
    if (folders.empty()) {
        path = rootOf(context, user, bucket);
    } else {
        const std::string name = std::move(folders.back());
        folders.pop_back();
        path = folderAt(context, user, bucket, folders);
        descend(context, path, name);
    }
    if (path.chain.back().right == Right::NONE) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    return path;
}

void primeLookups(const Context& context, const Resource& resource) {
    const std::optional<std::int64_t> user = primeSession(context);
    if (!user) {
        return;
    }
    try {
        std::vector<std::string> folders = splitPath(resource.getPath());
        if (folders.empty()) {
            return;
        }
        const std::string name = std::move(folders.back());
        folders.pop_back();
        const ResolvedPath* const folder =
            LookupCache::on(context.database)
                .guessFolder(keyOf(*user, resource.getUTF8Bucket(), folders));
        if (folder != nullptr) {
            context.database.buckets().prime(folder->bucket.id, folder->bucket.owner);
            primeChild(context, folder->chain.back().id, name);
        }
    } catch (const KVXClientException&) {
        // What is wrong with the path is told after what is wrong with the session.
    }
}

ChangeAt::ChangeAt(const Context& context, const ResolvedPath& path) : database_(context.database) {
    if (!path.names.empty() && path.chain.size() >= path.names.size()) {
        holdOtherChildren(context, path.chain[path.names.size() - 1].id, path.name());
    }
}

ChangeAt::~ChangeAt() { database_.releasePrimed(); }

void descend(const Context& context, ResolvedPath& path, const std::string& name) {
    if (path.exists() && path.chain.back().kind == Kind::FOLDER) {
        if (std::optional<Node> child = findChild(context, path.chain.back().id, name)) {
            append(context, path, *std::move(child));
        }
    }
    path.names.push_back(name);
}

ResolvedPath resolveNode(const Context& context, std::int64_t user, std::int64_t node) {
    std::vector<Node> upwards = climb(context, node);
    ResolvedPath path;
    path.user = user;
    if (upwards.empty() || upwards.back().parent != rootParent) {
        return {};
    }
    const std::int64_t bucket = upwards.back().bucket;
    const BucketRow* const row = context.database.buckets().find(bucket);
    if (row == nullptr) {
        return {};
    }
    path.bucket = *row;
    for (auto step = upwards.rbegin(); step != upwards.rend(); ++step) {
        if (step != upwards.rbegin()) {
            path.names.push_back(step->name);
        }
        append(context, path, std::move(*step));
    }
    return path;
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

}  // namespace storage::kvxstore
