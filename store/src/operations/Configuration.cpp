#include "operations/Operations.h"

#include "namespace/Caller.h"
#include "namespace/Policies.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

ResourcePolicySetResponse setResourcePolicy(const Context& context,
                                            const ResourcePolicySetRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& node = path.node(Right::OWN);
    const ResourcePolicy policy = request.getResourcePolicy();
    requireBetween(policy.getVersionPolicy(), VersionPolicy::INHERIT, VersionPolicy::ENABLED);
    requireBetween(policy.getPublicAccessPolicy(), PublicAccessPolicy::INHERIT,
                   PublicAccessPolicy::ALLOWED);
    context.database.execute("update nodes set seq = $2 where id = $1",
                             {node.id, advance(context, node.bucket)});
    context.database.execute(
        "insert into policies(node, versions, public_access) values($1, $2, $3)"
        " on conflict(node) do update set versions = excluded.versions,"
        " public_access = excluded.public_access",
        {node.id, static_cast<std::int64_t>(policy.getVersionPolicy()),
         static_cast<std::int64_t>(policy.getPublicAccessPolicy())});
    return {};
}

ResourcePolicyGetResponse getResourcePolicy(const Context& context,
                                            const ResourcePolicyGetRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    return ResourcePolicyGetResponse()
        .withPolicy(ownPolicy(context, path.node()))
        .withEffectivePolicy(effectivePolicy(context, path));
}

/// The bytes in use in all buckets of the caller, and the caller's quota.
StorageUsageGetResponse getStorageUsage(const Context& context, const StorageUsageGetRequest&) {
    const std::int64_t user = requireUser(context);
    const auto row = context.database.query(
        "select quota, (select coalesce(cast(sum(used) as bigint), 0) from buckets"
        " where owner = $1) from users where id = $1",
        {user});
    row->next();
    return StorageUsageGetResponse()
        .withUsageQuota(static_cast<unsigned long>(row->integer(0)))
        .withStorageUsage(static_cast<unsigned long>(row->integer(1)));
}

}  // namespace storage::kvxstore::operations
