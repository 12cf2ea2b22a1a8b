#include <sys/stat.h>

#include <atomic>
#include <fstream>
#include <future>
#include <set>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

namespace fs = std::filesystem;

class BackupTest : public StoreTest {
protected:
    /// The names of the files in the folder, sorted.
    std::string filesBeside() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder.file(""))) {
            names.insert(entry.path().filename());
        }
        std::string all;
        for (const std::string& name : names) {
            all += name + ' ';
        }
        return all;
    }

    std::string watermark(const Account& user) const {
        return user.notification->listFileChanges({}).getCurrentWatermark();
    }
};

TEST_F(BackupTest, KeepsWhatLastsAndNothingThatWasOpen) {
    for (const auto& [url, name] : {std::pair(folder.url(), "a"), {"sqlite::memory:", "b"}}) {
        const auto original = Store::open(url);
        const std::string owner = original->createUser({.name = u"owner"});
        const Account user(*original, owner);
        user.makeFolder(u"/d");
        user.put(u"/d/f", std::string(600'000, '1'), true);
        const std::string first = user.put(u"/d/f", "two", true).getVersionId();
        user.put(u"/gone", std::string(900'000, 'g'));
        const std::string location =
            user.files->createFileDownload(FileDownloadCreateRequest({u"/gone", u""}))
                .getLocation();
        user.remove(u"/gone");
        const OpenFile open(user, u"/d/f");
        open.write(0, std::string(500'000, 'o'));
        const std::string invitation =
            user.sharing->createInvitation(InvitationCreateRequest({u"/d", u""}))
                .getInvitation()
                .getInvitationId();
        const unsigned long used = original->listUsers().at(0).used;

        original->backup(folder.file(name));
        struct stat status {};
        ASSERT_EQ(::stat(folder.file(name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0600U);

        const auto copy = Store::open(folder.url(name));
        EXPECT_EQ(copy->verify(), std::vector<std::string>());
        EXPECT_EQ(copy->statistics().handles, 0U);
        EXPECT_EQ(copy->listUsers().at(0).used, 600'003U);
        EXPECT_LT(600'003U, used);
        const auto stranger = copy->createClient();
        stranger->withSessionId(user.client->getSessionId());
        EXPECT_EQ(codeOf([&] {
                      stranger->createFileAccess()->listFolder(FolderListRequest({u"/", u""}));
                  }),
                  Code::INVALID_SESSION_ID);
        const Account same(*copy, owner);
        EXPECT_EQ(same.list(u"/"), "d/");
        EXPECT_EQ(same.get(u"/d/f"), "two");
        const auto versions =
            same.versioning->listVersions(VersionListRequest({u"/d/f", u""})).getVersions();
        ASSERT_EQ(versions.size(), 2U);
        EXPECT_EQ(versions[1].getVersionId(), first);
        EXPECT_EQ(versions[1].getVersionLabel(), 2);
        EXPECT_EQ(same.sharing->listInvitations({}).getInvitations().at(0).getInvitationId(),
                  invitation);
        EXPECT_EQ(codeOf([&] { same.files->downloadFile(FileDownloadRequest(location)); }),
                  Code::RESOURCE_NOT_FOUND);

        open.close();
        EXPECT_EQ(original->verify(), std::vector<std::string>());
    }
}

TEST_F(BackupTest, EachRestoreRefusesTheWatermarksOfAllOthers) {
    account.put(u"/f", "content");
    store->backup(folder.file("a"));
    fs::copy_file(folder.file("a"), folder.file("b"));
    std::vector<std::string> watermarks{watermark(account)};
    for (const char* name : {"a", "b"}) {
        const auto restored = Store::open(folder.url(name));
        const Account user(*restored, token);
        for (const std::string& other : watermarks) {
            EXPECT_EQ(codeOf([&] {
                          user.notification->listFileChanges(
                              FileChangeListRequest().withWatermark(other));
                      }),
                      Code::RESOURCE_NOT_FOUND);
        }
        watermarks.push_back(watermark(user));
    }
    const auto again = Store::open(folder.url("a"));
    EXPECT_EQ(watermark(Account(*again, token)), watermarks[1]);
}

TEST_F(BackupTest, IsLeftAloneWhenItIsCopiedOverAnOpenStore) {
    const auto contentOf = [](const std::string& path) {
        std::ifstream stream(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    std::string owner;
    {
        const auto original = Store::open(folder.url());
        owner = original->createUser({.name = u"owner"});
        const Account user(*original, owner);
        user.put(u"/f", "old");
        original->backup(folder.file("copy"));
        user.put(u"/f", "new");
        fs::copy_file(folder.file("copy"), folder.file("store.db"),
                      fs::copy_options::overwrite_existing);
        EXPECT_NE(causeOf([&] { user.put(u"/f", "newest"); }).find("different times"),
                  std::string::npos);
    }
    EXPECT_TRUE(contentOf(folder.file("store.db")) == contentOf(folder.file("copy")));
    const auto error = storeErrorOf([&] { Store::open(folder.url()); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), StoreErrorCode::FILE_CHANGED);
    fs::remove(folder.file("store.db-wal"));
    fs::remove(folder.file("store.db-shm"));
    EXPECT_EQ(Account(*Store::open(folder.url()), owner).get(u"/f"), "old");
}

TEST_F(BackupTest, IsOneMomentWhileOthersWrite) {
    const auto original = Store::open(folder.url());
    const std::string owner = original->createUser({.name = u"owner"});
    std::atomic<bool> stop = false;
    auto writing = std::async(std::launch::async, [&] {
        const auto other = Store::open(folder.url());
        const Account user(*other, owner);
        unsigned i = 0;
        for (; !stop; ++i) {
            // Of each pair the second is never there without the first.
            user.put(numbered(u"/a", i), std::string(50'000, 'a'));
            user.put(numbered(u"/b", i), std::string(50'000, 'b'));
        }
        return i;
    });
    for (int i = 0; i < 3; ++i) {
        const std::string name = "copy" + std::to_string(i);
        original->backup(folder.file(name));
        const auto copy = Store::open(folder.url(name));
        EXPECT_EQ(copy->verify(), std::vector<std::string>());
        const Account user(*copy, owner);
        const std::string names = user.list(u"/");
        const auto first = std::count(names.begin(), names.end(), 'a');
        const auto second = std::count(names.begin(), names.end(), 'b');
        EXPECT_TRUE(first == second || first == second + 1) << names;
    }
    stop = true;
    EXPECT_GT(writing.get(), 3U);
}

TEST_F(BackupTest, ReplacesNothingAndLeavesNothingBehind) {
    const auto damaged = Store::open(folder.url("damaged"));
    Account(*damaged, damaged->createUser({.name = u"u"})).put(u"/f", std::string(300'000, 'f'));
    RawDatabase(folder.file("damaged")).run("update chunks set data = zeroblob(length(data))");
    for (const char* name : {"file", "log-wal", "journal-journal"}) {
        std::ofstream(folder.file(name)) << "other";
    }
    fs::create_symlink("nowhere", folder.file("dangling"));
    const std::string before = filesBeside();
    const struct {
        const Store& store;
        std::string target;
        StoreErrorCode code;
    } cases[] = {
        {*store, "file", StoreErrorCode::ALREADY_EXISTS},
        {*store, "log", StoreErrorCode::ALREADY_EXISTS},
        {*store, "journal", StoreErrorCode::ALREADY_EXISTS},
        {*store, "dangling", StoreErrorCode::ALREADY_EXISTS},
        {*store, "damaged", StoreErrorCode::ALREADY_EXISTS},
        {*store, "none/copy", StoreErrorCode::NOT_FOUND},
        {*store, "file/copy", StoreErrorCode::NOT_FOUND},
        {*damaged, "copy", StoreErrorCode::DAMAGED},
    };
    for (const auto& [from, target, code] : cases) {
        const std::string path = folder.file(target);
        const auto error = storeErrorOf([&store = from, &path] { store.backup(path); });
        ASSERT_TRUE(error) << target;
        EXPECT_EQ(error->code(), code) << error->what();
        EXPECT_EQ(filesBeside(), before) << target;
    }
    std::ifstream file(folder.file("file"));
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "other");
}

}  // namespace
}  // namespace storage::kvxstore
