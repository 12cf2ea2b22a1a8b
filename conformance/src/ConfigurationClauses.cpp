#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

ResourcePolicy policyOf(VersionPolicy version, PublicAccessPolicy access) {
    return ResourcePolicy().withVersionPolicy(version).withPublicAccessPolicy(access);
}

void setPolicy(Scene& s, const Resource& item, const ResourcePolicy& policy) {
    s.owner.call(&ConfigurationManagement::setResourcePolicy,
                 ResourcePolicySetRequest().withResource(item).withResourcePolicy(policy));
}

/// Expects the policy that is set on the item, and its effective policy.
void expectPolicy(Scene& s, const Resource& item, const ResourcePolicy& own,
                  const ResourcePolicy& effective) {
    SCOPED_TRACE(toUtf8(item.getPath()));
    const auto response = s.owner.call(&ConfigurationManagement::getResourcePolicy,
                                       ResourcePolicyGetRequest().withResource(item));
    EXPECT_EQ(response.getPolicy(), own);
    EXPECT_EQ(response.getEffectivePolicy(), effective);
}

const ResourcePolicy nothing = policyOf(VersionPolicy::INHERIT, PublicAccessPolicy::INHERIT);
const ResourcePolicy closed = policyOf(VersionPolicy::DISABLED, PublicAccessPolicy::DENIED);
const ResourcePolicy open = policyOf(VersionPolicy::ENABLED, PublicAccessPolicy::ALLOWED);

}  // namespace

const Clauses configurationClauses{
    {"configuration.policy.isInherited",
     [](Scene& s) {
         s.owner.makeFolder(s.d);
         s.owner.write(s.d / u"f", "");
         for (const ResourcePolicy& policy : {closed, open}) {
             setPolicy(s, s.folder, policy);
             expectPolicy(s, s.folder, policy, policy);
             expectPolicy(s, s.d / u"f", nothing, policy);
         }
     }},
    {"configuration.policy.nearestHolds",
     [](Scene& s) {
         s.owner.makeFolder(s.d);
         s.owner.write(s.d / u"f", "");
         setPolicy(s, s.folder, closed);
         setPolicy(s, s.d, policyOf(VersionPolicy::ENABLED, PublicAccessPolicy::INHERIT));
         expectPolicy(s, s.d / u"f", nothing,
                      policyOf(VersionPolicy::ENABLED, PublicAccessPolicy::DENIED));
         setPolicy(s, s.d / u"f", open);
         expectPolicy(s, s.d / u"f", open, open);
         setPolicy(s, s.d, nothing);
         expectPolicy(s, s.d, nothing, closed);
     }},
    {"configuration.usage.growsWithContent",
     [](Scene& s) {
         const auto usage = [&] {
             return s.owner.call(&ConfigurationManagement::getStorageUsage,
                                 StorageUsageGetRequest());
         };
         const auto before = usage();
         EXPECT_GE(before.getUsageQuota(), before.getStorageUsage());
         s.owner.write(s.f, std::string(2UL << 20U, 'x'));
         EXPECT_GT(usage().getStorageUsage(), before.getStorageUsage());
         EXPECT_EQ(usage().getUsageQuota(), before.getUsageQuota());
     }},
};

}  // namespace storage::kvxconformance
