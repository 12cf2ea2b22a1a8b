#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

const std::set<Capability> versions{Capability::VERSIONS};

VersionRestoreResponse restore(Scene& s, int label, bool createNewVersion) {
    return s.owner.call(&IVersioning::restoreVersion, VersionRestoreRequest(s.at(u"f"))
                                                          .withVersionLabel(label)
                                                          .withCreateNewVersion(createNewVersion));
}

}  // namespace

const Clauses versionClauses{
    {"versions.list.tellsAll", versions,
     [](Scene& s) {
         std::set<int> labels;
         std::set<std::string> ids;
         for (const char* content : {"one", "two", "three"}) {
             const auto written = s.owner.write(s.at(u"f"), content, true);
             labels.insert(written.getVersionLabel());
             ids.insert(written.getVersionId());
         }
         const auto list = s.owner.call(&IVersioning::listVersions, s.at(u"f"));
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
    {"versions.read.byLabelAndId", versions,
     [](Scene& s) {
         const auto first = s.owner.write(s.at(u"f"), "one", true);
         const auto second = s.owner.write(s.at(u"f"), "two", true);
         s.owner.write(s.at(u"f"), "three", true);
         EXPECT_EQ(s.owner.read(s.at(u"f")), "three");
         for (const auto& [version, content] :
              {std::pair(first, "one"), std::pair(second, "two")}) {
             EXPECT_EQ(s.owner.read(s.at(u"f"), version.getVersionLabel()), content);
             const auto body =
                 s.owner
                     .call(&FileAccess::readFile,
                           FileReadRequest(s.at(u"f")).withVersionId(version.getVersionId()))
                     .getResponseBody();
             EXPECT_EQ(std::string(body.begin(), body.end()), content);
         }
     }},
    {"versions.write.keepsTheOldOnlyWhenAsked", versions,
     [](Scene& s) {
         s.owner.write(s.at(u"f"), "one");
         s.owner.write(s.at(u"f"), "two");
         EXPECT_EQ(s.owner.versions(s.at(u"f")).size(), 1U);
         s.owner.write(s.at(u"f"), "three", true);
         EXPECT_EQ(s.owner.versions(s.at(u"f")).size(), 2U);
         EXPECT_EQ(s.owner.read(s.at(u"f")), "three");
     }},
    {"versions.restore.asANewVersion", versions,
     [](Scene& s) {
         const int first = s.owner.write(s.at(u"f"), "one", true).getVersionLabel();
         const int second = s.owner.write(s.at(u"f"), "two!", true).getVersionLabel();
         const auto restored = restore(s, first, true);
         EXPECT_EQ(s.owner.read(s.at(u"f")), "one");
         EXPECT_EQ(s.owner.stat(s.at(u"f")).getSize(), 3U);
         EXPECT_EQ(s.owner.read(s.at(u"f"), restored.getVersionLabel()), "one");
         EXPECT_EQ(s.owner.read(s.at(u"f"), second), "two!");
         EXPECT_EQ(s.owner.versions(s.at(u"f")).size(), 3U);
     }},
    {"versions.restore.inPlace", versions,
     [](Scene& s) {
         const int first = s.owner.write(s.at(u"f"), "one", true).getVersionLabel();
         s.owner.write(s.at(u"f"), "two!", true);
         const auto restored = restore(s, first, false);
         EXPECT_EQ(s.owner.read(s.at(u"f")), "one");
         EXPECT_EQ(s.owner.read(s.at(u"f"), restored.getVersionLabel()), "one");
         EXPECT_LE(s.owner.versions(s.at(u"f")).size(), 2U);
     }},
    {"versions.move.takesThemAlong", versions,
     [](Scene& s) {
         const int first = s.owner.write(s.at(u"f"), "one", true).getVersionLabel();
         s.owner.write(s.at(u"f"), "two", true);
         s.owner.move(s.at(u"f"), s.at(u"g"));
         EXPECT_EQ(s.owner.read(s.at(u"g"), first), "one");
     }},
    {"versions.forms.agree", versions,
     [](Scene& s) {
         s.owner.write(s.at(u"f"), "one", true);
         s.owner.write(s.at(u"f"), "two", true);
         const auto& service = s.owner.service<IVersioning>();
         const auto expected = s.owner.call(&IVersioning::listVersions, s.at(u"f"));
         EXPECT_EQ(service.listVersions(s.at(u"f")), expected);
         EXPECT_EQ(service.listVersionsAsync(s.at(u"f")).get(), expected);
         const auto missing = [&] { service.listVersions(s.at(u"gone")); };
         EXPECT_EQ(codeOf(missing), Code::RESOURCE_NOT_FOUND);
     }},
    {"versions.policy.disabledKeepsNone",
     {Capability::VERSIONS, Capability::CONFIGURATION},
     [](Scene& s) {
         s.owner.call(&ConfigurationManagement::setResourcePolicy,
                      ResourcePolicySetRequest().withResource(s.folder).withResourcePolicy(
                          ResourcePolicy().withVersionPolicy(VersionPolicy::DISABLED)));
         s.owner.write(s.at(u"f"), "one", true);
         s.owner.write(s.at(u"f"), "two", true);
         EXPECT_EQ(s.owner.versions(s.at(u"f")).size(), 1U);
         EXPECT_EQ(s.owner.read(s.at(u"f")), "two");
     }},
};

}  // namespace storage::kvxconformance
