#include "operations/Configuration.h"

#include "namespace/Caller.h"
#include "namespace/Policies.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

kvxclient::ResourcePolicySetResponse setResourcePolicy(
    const Context& context, const kvxclient::ResourcePolicySetRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& node = place.node(Right::OWN);
    const ResourcePolicy policy = request.getResourcePolicy();
    requireBetween(policy.getVersionPolicy(), VersionPolicy::INHERIT, VersionPolicy::ENABLED);
    requireBetween(policy.getPublicAccessPolicy(), PublicAccessPolicy::INHERIT,
                   PublicAccessPolicy::ALLOWED);
    context.database.execute("update nodes set seq = $2 where id = $1",
                             {node.id, advance(context, node.bucket, 0)});
    context.database.execute(
        "insert into policies(node, versions, public_access) values($1, $2, $3)"
        " on conflict(node) do update set versions = excluded.versions,"
        " public_access = excluded.public_access",
        {node.id, static_cast<std::int64_t>(policy.getVersionPolicy()),
         static_cast<std::int64_t>(policy.getPublicAccessPolicy())});
    return {};
}

kvxclient::ResourcePolicyGetResponse getResourcePolicy(
    const Context& context, const kvxclient::ResourcePolicyGetRequest& request) {
    const Place place = locate(context, request.getResource());
    return kvxclient::ResourcePolicyGetResponse()
        .withPolicy(ownPolicy(context, place.node()))
        .withEffectivePolicy(effectivePolicy(context, place));
}

kvxclient::StorageUsageGetResponse getStorageUsage(const Context& context,
                                                   const kvxclient::StorageUsageGetRequest&) {
    const std::int64_t user = requireUser(context);
    const auto row = context.database.query(
        "select quota, (select coalesce(cast(sum(used) as bigint), 0) from buckets"
        " where owner = $1) from users where id = $1",
        {user});
    row->next();
    return kvxclient::StorageUsageGetResponse()
        .withUsageQuota(static_cast<unsigned long>(row->integer(0)))
        .withStorageUsage(static_cast<unsigned long>(row->integer(1)));
}

}  // namespace storage::kvxstore::operations
