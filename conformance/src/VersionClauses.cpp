#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

VersionRestoreResponse restore(Scene& s, int label, bool createNewVersion) {
    return s.owner.call(
        &IVersioning::restoreVersion,
        VersionRestoreRequest(s.f).withVersionLabel(label).withCreateNewVersion(createNewVersion));
}

}  // namespace

const Clauses versionClauses{
    {"versions.list.tellsAll",
     [](Scene& s) {
         std::set<int> labels;
         std::set<std::string> ids;
         for (const char* content : {"one", "two", "three"}) {
             const auto written = s.owner.write(s.f, content, true);
             labels.insert(written.getVersionLabel());
             ids.insert(written.getVersionId());
         }
         const auto list = s.owner.call(&IVersioning::listVersions, s.f);
         EXPECT_EQ(list.getName(), u"f");
         EXPECT_EQ(list.getVersions().size(), 3U);
         std::set<int> listedLabels;
         std::set<std::string> listedIds;
         for (const VersionSummary& version : list.getVersions()) {
             listedLabels.insert(version.getVersionLabel());
             listedIds.insert(version.getVersionId());
             EXPECT_GT(version.getCreated().time_since_epoch().count(), 0);
         }
         EXPECT_EQ(listedLabels, labels);
         EXPECT_EQ(listedIds, ids);
     }},
    {"versions.read.byLabelAndId",
     [](Scene& s) {
         const auto first = s.owner.write(s.f, "one", true);
         const auto second = s.owner.write(s.f, "two", true);
         s.owner.write(s.f, "three", true);
         EXPECT_EQ(s.owner.read(s.f), "three");
         for (const auto& [version, content] :
              {std::pair(first, "one"), std::pair(second, "two")}) {
             EXPECT_EQ(s.owner.read(s.f, version.getVersionLabel()), content);
             const auto body = s.owner
                                   .call(&FileAccess::readFile,
                                         FileReadRequest(s.f).withVersionId(version.getVersionId()))
                                   .getResponseBody();
             EXPECT_EQ(std::string(body.begin(), body.end()), content);
         }
     }},
    {"versions.write.keepsTheOldOnlyWhenAsked",
     [](Scene& s) {
         s.owner.write(s.f, "one");
         s.owner.write(s.f, "two");
         EXPECT_EQ(s.owner.versions(s.f).size(), 1U);
         s.owner.write(s.f, "three", true);
         EXPECT_EQ(s.owner.versions(s.f).size(), 2U);
         EXPECT_EQ(s.owner.read(s.f), "three");
     }},
    {"versions.restore.asANewVersion",
     [](Scene& s) {
         const int first = s.owner.write(s.f, "one", true).getVersionLabel();
         const int second = s.owner.write(s.f, "two!", true).getVersionLabel();
         const auto restored = restore(s, first, true);
         EXPECT_EQ(s.owner.read(s.f), "one");
         EXPECT_EQ(s.owner.stat(s.f).getSize(), 3U);
         EXPECT_EQ(s.owner.read(s.f, restored.getVersionLabel()), "one");
         EXPECT_EQ(s.owner.read(s.f, second), "two!");
         EXPECT_EQ(s.owner.versions(s.f).size(), 3U);
     }},
    {"versions.restore.inPlace",
     [](Scene& s) {
         const int first = s.owner.write(s.f, "one", true).getVersionLabel();
         s.owner.write(s.f, "two!", true);
         const auto restored = restore(s, first, false);
         EXPECT_EQ(s.owner.read(s.f), "one");
         EXPECT_EQ(s.owner.read(s.f, restored.getVersionLabel()), "one");
         EXPECT_LE(s.owner.versions(s.f).size(), 2U);
     }},
    {"versions.policy.disabledKeepsNone",
     [](Scene& s) {
         s.owner.call(&ConfigurationManagement::setResourcePolicy,
                      ResourcePolicySetRequest().withResource(s.folder).withResourcePolicy(
                          ResourcePolicy()
                              .withVersionPolicy(VersionPolicy::DISABLED)
                              .withPublicAccessPolicy(PublicAccessPolicy::INHERIT)));
         s.owner.write(s.f, "one", true);
         s.owner.write(s.f, "two", true);
         EXPECT_EQ(s.owner.versions(s.f).size(), 1U);
         EXPECT_EQ(s.owner.read(s.f), "two");
     },
     {Capability::CONFIGURATION}},
};

}  // namespace storage::kvxconformance
