#include "namespace/Policies.h"

namespace storage::kvxstore {

ResourcePolicy ownPolicy(const Context& context, const Node& node) {
    const auto row = context.database.query(
        "select versions, public_access from policies where node = $1", {node.id});
    ResourcePolicy policy;
    if (row->next()) {
        policy.withVersionPolicy(VersionPolicy(row->integer(0)))
            .withPublicAccessPolicy(PublicAccessPolicy(row->integer(1)));
    }
    return policy;
}

ResourcePolicy effectivePolicy(const Context& context, const ResolvedPath& path) {
    auto effective = ResourcePolicy()
                         .withVersionPolicy(VersionPolicy::ENABLED)
                         .withPublicAccessPolicy(PublicAccessPolicy::DENIED);
    for (const Node& node : path.chain) {
        const ResourcePolicy own = ownPolicy(context, node);
        if (own.getVersionPolicy() != VersionPolicy::INHERIT) {
            effective.withVersionPolicy(own.getVersionPolicy());
        }
        if (own.getPublicAccessPolicy() != PublicAccessPolicy::INHERIT) {
            effective.withPublicAccessPolicy(own.getPublicAccessPolicy());
        }
    }
    return effective;
}

}  // namespace storage::kvxstore
