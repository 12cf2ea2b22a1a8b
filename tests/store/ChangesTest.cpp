#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

/// One who asks for changes from time to time.
class Watcher {
public:
    explicit Watcher(const Account& account) : account_(account) {}

    /// What changed since the last time: paths with the bucket where it is not "main", folders
    /// with a slash at the end.
    std::string look() {
        const auto response = account_.notification->listFileChanges(
            FileChangeListRequest().withWatermark(watermark_));
        watermark_ = response.getCurrentWatermark();
        std::string found;
        for (const auto& change : response.getFolderChanges()) {
            found += textOf(change) + "/ ";
        }
        for (const auto& change : response.getFileChanges()) {
            found += textOf(change) + ' ';
        }
        return found.empty() ? found : found.substr(0, found.size() - 1);
    }

    const std::string& watermark() const { return watermark_; }

private:
    static std::string textOf(const FileChangeSummary& change) {
        const Resource resource = change.getResource();
        return (resource.getBucket() == u"main" ? "" : resource.getUTF8Bucket() + ':') +
               resource.getAsciiPercentEncodedPath();
    }

    const Account& account_;
    std::string watermark_;
};

TEST_F(StoreTest, ListsTheLastChangeOfEveryPlaceSinceAWatermark) {
    Watcher watcher(account);
    EXPECT_EQ(watcher.look(), "");
    account.makeFolder(u"/a");
    account.put(u"/a/f", "1");
    account.put(u"/g", "1");
    EXPECT_EQ(watcher.look(), "/a/ /a/f /g");
    EXPECT_EQ(watcher.look(), "");
    account.put(u"/g", "2");
    account.put(u"/g", "3");
    account.files->setMetadata(SetMetadataRequest({u"/a", u""}));
    EXPECT_EQ(watcher.look(), "/a/ /g");
    Watcher old = watcher;
    account.move(u"/a", u"/b");
    EXPECT_EQ(watcher.look(), "/a/ /b/");
    account.remove(u"/b/f");
    EXPECT_EQ(watcher.look(), "/b/f");
    account.move(u"/g", u"/b/f");
    EXPECT_EQ(watcher.look(), "/g /b/f");
    account.copy(u"/b", u"/a");
    EXPECT_EQ(watcher.look(), "/a/ /a/f");
    const OpenFile file(account, u"/a/new");
    file.write(0, "x");
    EXPECT_EQ(watcher.look(), "");
    file.close();
    EXPECT_EQ(watcher.look(), "/a/new");
    account.removeFolder(u"/a", true);
    EXPECT_EQ(watcher.look(), "/a/");
    store->sweep();
    EXPECT_EQ(old.look(), "/b/ /a/ /g /b/f");
    EXPECT_EQ(Watcher(account).look(), "/b/ /a/ /g /b/f");

    store->createBucket(u"second", u"main");
    account.files->move({{u"/b", u""}, {u"/c", u"second"}});
    EXPECT_EQ(watcher.look(), "/b/ second:/c/ second:/c/f");
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, EveryWatermarkOfAnAnswerServesAndNoOtherText) {
    for (const char16_t* path : {u"/a", u"/b", u"/c"}) {
        account.put(path, "");
    }
    Watcher watcher(account);
    watcher.look();
    const auto list = [&](const std::string& watermark) {
        return account.notification
            ->listFileChanges(FileChangeListRequest().withWatermark(watermark))
            .getFileChanges();
    };
    const auto all = list("");
    ASSERT_EQ(all.size(), 3U);
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(list(all[i].getWatermark()).size(), all.size() - i - 1);
    }
    const std::string good = watcher.watermark();
    const auto other = Store::open(newStoreUrl());
    const Account stranger(*other, other->createUser({.name = u"main"}));
    Watcher elsewhere(stranger);
    elsewhere.look();
    for (const std::string& bad :
         {std::string("x"), std::string("0"), good + 'x', good + '0', good + "-", good + "-1",
          good + "-1.1", good.substr(0, good.find('-')) + "-1.-1",
          good.substr(0, good.find('-')) + "--5.3", good.substr(1), good.substr(0, good.size() - 1),
          std::string("-1.3"), elsewhere.watermark(), std::string(100'000, '-'),
          std::string("\0", 1)}) {
        EXPECT_EQ(codeOf([&] { list(bad); }), Code::RESOURCE_NOT_FOUND) << bad.substr(0, 80);
    }
}

TEST_F(StoreTest, ChangesAreToldToThoseWhoMaySeeThem) {
    const Account guest(*store, store->createUser({.name = u"guest"}));
    account.makeFolder(u"/open");
    account.makeFolder(u"/later");
    account.put(u"/open/f", "");
    account.put(u"/later/g", "");
    account.put(u"/secret", "");
    guest.put(u"/own", "");
    const auto grant = [&](const std::u16string& path) {
        account.sharing->grantPermission(
            PermissionGrantRequest({path, u""}).withSubject(Subject().withSubjectName(u"guest")));
    };
    Watcher watcher(guest);
    EXPECT_EQ(watcher.look(), "guest:/own");
    grant(u"/open");
    EXPECT_EQ(watcher.look(), "/open/ /open/f");
    account.put(u"/open/f", "changed");
    account.put(u"/secret", "changed");
    EXPECT_EQ(watcher.look(), "/open/f");
    grant(u"/later");
    EXPECT_EQ(watcher.look(), "/later/ /later/g");
    account.remove(u"/open/f");
    account.move(u"/later", u"/moved");
    EXPECT_EQ(watcher.look(), "/later/ /moved/ /open/f");
    account.move(u"/secret", u"/open/secret");
    EXPECT_EQ(watcher.look(), "/open/secret");
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, PoliciesInheritAndDecideWhatWritesKeep) {
    account.makeFolder(u"/d");
    account.put(u"/d/f", "1");
    const auto set = [&](const std::u16string& path, VersionPolicy policy) {
        account.configuration->setResourcePolicy(
            ResourcePolicySetRequest()
                .withResource({path, u""})
                .withResourcePolicy(ResourcePolicy().withVersionPolicy(policy)));
    };
    const auto versions = [&] {
        std::string labels;
        for (const auto& version :
             account.versioning->listVersions(VersionListRequest({u"/d/f", u""})).getVersions()) {
            labels += std::to_string(version.getVersionLabel());
        }
        return labels;
    };
    account.put(u"/d/f", "2", true);
    EXPECT_EQ(versions(), "12");
    set(u"/", VersionPolicy::DISABLED);
    account.put(u"/d/f", "3", true);
    EXPECT_EQ(versions(), "13");
    set(u"/d", VersionPolicy::ENABLED);
    account.put(u"/d/f", "4", true);
    EXPECT_EQ(versions(), "134");
    set(u"/d/f", VersionPolicy::DISABLED);
    const OpenFile file(account, u"/d/f");
    file.write(0, "5");
    file.close(FileHandleCloseOperation::COMMIT_CHANGES, true);
    EXPECT_EQ(versions(), "135");
    set(u"/d/f", VersionPolicy::INHERIT);
    const auto policy = account.configuration->getResourcePolicy(
        ResourcePolicyGetRequest().withResource({u"/d/f", u""}));
    EXPECT_EQ(policy.getPolicy(), ResourcePolicy());
    EXPECT_EQ(policy.getEffectivePolicy(), ResourcePolicy()
                                               .withVersionPolicy(VersionPolicy::ENABLED)
                                               .withPublicAccessPolicy(PublicAccessPolicy::DENIED));
    EXPECT_EQ(codeOf([&] { set(u"/d", VersionPolicy(7)); }), Code::UNKNOWN);

    const auto restore = [&](int label, bool newVersion) {
        return account.versioning
            ->restoreVersion(VersionRestoreRequest({u"/d/f", u""})
                                 .withVersionLabel(label)
                                 .withCreateNewVersion(newVersion))
            .getVersionLabel();
    };
    EXPECT_EQ(restore(1, true), 6);
    EXPECT_EQ(account.get(u"/d/f"), "1");
    EXPECT_EQ(restore(5, false), 7);
    EXPECT_EQ(account.get(u"/d/f"), "5");
    EXPECT_EQ(versions(), "1357");
    EXPECT_EQ(codeOf([&] { restore(4711, false); }), Code::RESOURCE_NOT_FOUND);
    store->sweep();
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, FaultsHappenOnPurpose) {
    const auto plan = std::make_shared<FaultPlan>(std::vector<Fault>{
        {.operation = "createFolder", .call = 2, .error = Code::BAD_NETWORK},
        {.operation = "createFolder", .call = 3, .delay = 300ms},
        {.operation = "createFolder", .call = 4, .delay = 1h},
        {.operation = "listFolder", .dropHandler = true},
        {.operation = "none", .error = Code::UNKNOWN},
    });
    const auto faulty = Store::open(newStoreUrl(), {.faults = plan});
    const Account user(*faulty, faulty->createUser({.name = u"u"}));
    EXPECT_EQ(codeOf([&] { user.makeFolder(u"/a"); }), std::nullopt);
    EXPECT_EQ(codeOf([&] { user.makeFolder(u"/b"); }), Code::BAD_NETWORK);
    auto late = user.files->createFolderAsync(FolderCreateRequest({u"/c", u""}));
    EXPECT_THROW(user.files->listFolder(FolderListRequest({u"/", u""})), std::future_error);
    while (user.list(u"/") != "a/ c/") {
    }
    EXPECT_EQ(late.wait_for(0s), std::future_status::timeout);
    late.get();
    auto never = user.files->createFolderAsync(FolderCreateRequest({u"/d", u""}));
    user.client->cancelPendingCalls();
    EXPECT_EQ(codeOf([&] { never.get(); }), Code::BAD_NETWORK);
    EXPECT_EQ(plan->fired().size(), 4U);
    EXPECT_EQ(plan->fired().at(1).delay, 300ms);
}

}  // namespace
}  // namespace storage::kvxstore
