#include <sstream>

#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

TEST_F(StoreTest, RefusesWithTheFittingCode) {
    account.makeFolder(u"/folder");
    account.makeFolder(u"/folder/sub");
    account.put(u"/folder/file", "x");
    account.put(u"/file", "x");
    const std::u16string longName(256, u'n');
    const std::u16string longestName(255, u'n');
    const auto put = [&](std::u16string path) { return [=, this] { account.put(path, "y"); }; };
    const auto get = [&](std::u16string path) { return [=, this] { account.get(path); }; };
    const auto move = [&](std::u16string from, std::u16string to, bool overwrite = false) {
        return [=, this] { account.move(from, to, overwrite); };
    };
    const auto copy = [&](std::u16string from, std::u16string to, bool overwrite = false) {
        return [=, this] { account.copy(from, to, overwrite); };
    };
    struct {
        std::string what;
        std::function<void()> action;
        std::optional<Code> code;
    } const cases[] = {
        {"path: empty", get(u""), Code::ILLEGAL_PATH},
        {"path: relative", get(u"file"), Code::ILLEGAL_PATH},
        {"path: trailing slash", get(u"/folder/"), Code::ILLEGAL_PATH},
        {"path: only slashes", get(u"//"), Code::ILLEGAL_PATH},
        {"path: empty segment", get(u"/folder//file"), Code::ILLEGAL_PATH},
        {"path: dot", get(u"/./file"), Code::ILLEGAL_PATH},
        {"path: dot dot", get(u"/folder/../file"), Code::ILLEGAL_PATH},
        {"path: NUL", get(std::u16string(u"/a\0b", 4)), Code::ILLEGAL_PATH},
        {"path: lone high surrogate", get(u"/a\xD800"), Code::ILLEGAL_PATH},
        {"path: lone low surrogate", get(u"/\xDC00z"), Code::ILLEGAL_PATH},
        {"path: name too long", get(u"/" + longName), Code::ILLEGAL_PATH},
        {"path: longest name", put(u"/" + longestName), std::nullopt},
        {"path: too long", get(std::u16string(4097, u'/')), Code::ILLEGAL_PATH},
        {"read: missing", get(u"/none"), Code::RESOURCE_NOT_FOUND},
        {"read: missing parent", get(u"/none/file"), Code::RESOURCE_NOT_FOUND},
        {"read: below a file", get(u"/file/x"), Code::RESOURCE_NOT_FOUND},
        {"read: folder", get(u"/folder"), Code::CONFLICT},
        {"read: other case", get(u"/File"), Code::RESOURCE_NOT_FOUND},
        {"read: no such bucket", [&] { account.get(u"/file", u"none"); }, Code::RESOURCE_NOT_FOUND},
        {"create: missing parent", put(u"/none/file"), Code::PARENT_RESOURCE_NOT_FOUND},
        {"create: below a file", put(u"/file/x"), Code::PARENT_RESOURCE_NOT_FOUND},
        {"create: over a folder", put(u"/folder"), Code::CONFLICT},
        {"create: over the root", put(u"/"), Code::CONFLICT},
        {"folder: exists", [&] { account.makeFolder(u"/folder"); }, Code::CONFLICT},
        {"folder: file exists", [&] { account.makeFolder(u"/file"); }, Code::CONFLICT},
        {"folder: root", [&] { account.makeFolder(u"/"); }, Code::CONFLICT},
        {"list: file", [&] { account.list(u"/file"); }, Code::CONFLICT},
        {"delete file: folder",
         [&] {
             account.files->deleteFile(FileDeleteRequest({u"/folder", u""}));
         },
         Code::CONFLICT},
        {"delete folder: file", [&] { account.removeFolder(u"/file", true); }, Code::CONFLICT},
        {"delete folder: root", [&] { account.removeFolder(u"/", true); }, Code::CONFLICT},
        {"delete folder: full", [&] { account.removeFolder(u"/folder", false); },
         Code::FOLDER_NOT_EMPTY},
        {"move: missing", move(u"/none", u"/x"), Code::RESOURCE_NOT_FOUND},
        {"move: missing parent", move(u"/file", u"/none/x"), Code::PARENT_RESOURCE_NOT_FOUND},
        {"move: target exists", move(u"/file", u"/folder/file"), Code::CONFLICT},
        {"move: kinds differ", move(u"/file", u"/folder", true), Code::CONFLICT},
        {"move: onto itself", move(u"/file", u"/file", true), Code::CONFLICT},
        {"move: into itself", move(u"/folder", u"/folder/sub/x"), Code::CONFLICT},
        {"move: onto its parent", move(u"/folder/sub", u"/folder", true), Code::CONFLICT},
        {"move: root", move(u"/", u"/x"), Code::CONFLICT},
        {"move: onto the root", move(u"/folder", u"/", true), Code::CONFLICT},
        {"copy: into itself", copy(u"/folder", u"/folder/x"), Code::CONFLICT},
        {"copy: onto itself", copy(u"/file", u"/file", true), Code::CONFLICT},
    };
    const std::string before = account.list(u"/") + account.list(u"/folder");
    for (const auto& [what, action, code] : cases) {
        EXPECT_EQ(codeOf(action), code) << what;
    }
    account.files->deleteFile(FileDeleteRequest({u"/" + longestName, u""}));
    EXPECT_EQ(account.list(u"/") + account.list(u"/folder"), before);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, KeepsContentsOfEverySizeExactly) {
    constexpr std::size_t chunk = 256UL << 10U;
    for (const std::size_t size : {0UL, 1UL, chunk - 1, chunk, chunk + 1, 3 * chunk + 7}) {
        std::string content(size, '\0');
        for (std::size_t i = 0; i < size; ++i) {
            content[i] = static_cast<char>(i * 31 + i / 251);
        }
        account.put(u"/f", content);
        EXPECT_TRUE(account.get(u"/f") == content) << size;
        EXPECT_EQ(account.stat(u"/f").getSize(), size);
    }
}

TEST_F(StoreTest, ListsByNameHidesDotsAndKeepsEveryUnit) {
    for (const char16_t* name : {u"/b", u"/a", u"/.hidden", u"/\u00e9", u"/\U0001F600", u"/A b"}) {
        account.put(name, "");
    }
    account.makeFolder(u"/z");
    account.makeFolder(u"/.git");
    EXPECT_EQ(account.list(u"/"), "z/ A b a b \u00e9 \U0001F600");
    EXPECT_EQ(account.list(u"/", true), ".git/ z/ .hidden A b a b \u00e9 \U0001F600");

    account.makeFolder(u"/z/deep");
    account.put(u"/z/deep/.f", "1234");
    const auto tree =
        account.files->listMultiFolder(MultiFolderListRequest({u"/", u"main"})).getFolders();
    std::string found;
    for (const ResourceAndFolderList& entry : tree) {
        found += entry.getParentResource().getAsciiPercentEncodedPath() + ':' +
                 std::to_string(entry.getFolders().size()) + ',' +
                 std::to_string(entry.getFiles().size()) + ' ';
    }
    EXPECT_EQ(found, "/:2,6 /.git:0,0 /z:1,0 /z/deep:0,1 ");
}

TEST_F(StoreTest, CountsVersionsAndKeepsTheOnesAskedFor) {
    EXPECT_EQ(account.put(u"/f", "one").getVersionLabel(), 1);
    const std::string second = account.put(u"/f", "two", true).getVersionId();
    EXPECT_EQ(account.put(u"/f", "three").getVersionLabel(), 3);
    account.put(u"/other", "other");
    const auto read = [&](const std::string& id, int label) {
        const auto body =
            account.files
                ->readFile(FileReadRequest({u"/f", u""}).withVersionId(id).withVersionLabel(label))
                .getResponseBody();
        return std::string(body.begin(), body.end());
    };
    EXPECT_EQ(read("", -1), "three");
    EXPECT_EQ(read("", 1), "one");
    // The third write did not ask to keep the second version.
    EXPECT_EQ(codeOf([&] { read(second, -1); }), Code::RESOURCE_NOT_FOUND);
    const std::string first = second.substr(0, second.size() - 1) + '1';
    EXPECT_EQ(read(first, -1), "one");
    EXPECT_EQ(read(first, 1), "one");
    for (const auto& bad : std::initializer_list<std::pair<std::string, int>>{
             {"", 0}, {"", 4}, {first, 3}, {first + "x", -1}, {"nonsense", -1}, {"9-1", -1}}) {
        EXPECT_EQ(codeOf([&] { read(bad.first, bad.second); }), Code::RESOURCE_NOT_FOUND)
            << bad.first << ' ' << bad.second;
    }
}

TEST_F(StoreTest, MovesAndCopiesTrees) {
    account.makeFolder(u"/src");
    account.makeFolder(u"/src/sub");
    account.put(u"/src/sub/f", "old", true);
    account.put(u"/src/sub/f", "new", true);
    account.makeFolder(u"/dst");
    account.put(u"/dst/gone", "gone");
    const FileAttributes before = account.stat(u"/src/sub/f");

    account.copy(u"/src", u"/dst", true);
    EXPECT_EQ(account.list(u"/dst"), "sub/");
    EXPECT_EQ(account.get(u"/dst/sub/f"), "new");
    account.put(u"/dst/sub/f", "changed");
    EXPECT_EQ(account.get(u"/src/sub/f"), "new");

    account.move(u"/src", u"/dst/moved");
    EXPECT_EQ(account.list(u"/"), "dst/");
    EXPECT_EQ(account.stat(u"/dst/moved/sub/f"), before);

    store->createBucket(u"second", u"main");
    account.files->move(MoveOrCopyRequest({u"/dst", u""}, {u"/d", u"second"}));
    EXPECT_EQ(account.get(u"/d/moved/sub/f", u"second"), "new");
    store->sweep();
    const auto buckets = store->listBuckets();
    EXPECT_EQ(buckets.at(0).used, 0U);
    EXPECT_EQ(buckets.at(1).used, std::string("changedoldnew").size());
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, TellsWhatWasDeletedAndLosesIt) {
    account.makeFolder(u"/a");
    account.makeFolder(u"/a/b");
    account.put(u"/a/b/f", "content");
    const auto file =
        account.files->deleteFile(FileDeleteRequest({u"/a/b/f", u""})).getDeletedFileSummary();
    ASSERT_TRUE(file);
    EXPECT_EQ(file->getParentResource(), Resource(u"/a/b", u"main"));
    EXPECT_FALSE(file->getTombstone().empty());
    EXPECT_EQ(account.list(u"/a/b"), "");
    account.put(u"/a/b/f", "again");
    account.removeFolder(u"/a", true);
    EXPECT_EQ(account.list(u"/"), "");
    account.makeFolder(u"/a");
    EXPECT_EQ(account.list(u"/a"), "");
    store->sweep();
    EXPECT_EQ(store->listUsers().at(0).used, 0U);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, DownloadsTheContentThatTheLocationWasMadeFor) {
    auto now = std::chrono::system_clock::now();
    const auto timed = Store::open("sqlite::memory:", {.clock = [&] { return now; }});
    const Account user(*timed, timed->createUser({.name = u"u"}));
    const std::string content(600'000, 'x');
    user.put(u"/my file", content);
    const std::string location =
        user.files->createFileDownload(FileDownloadCreateRequest({u"/my file", u""})).getLocation();
    EXPECT_EQ(FileDownloadRequest(location).getLocationFilename(), "/my%20file");
    user.put(u"/my file", "overwritten");
    user.files->deleteFile(FileDeleteRequest({u"/my file", u""}));
    timed->sweep();

    const auto request = FileDownloadRequest(location).withReadIntoString(true);
    EXPECT_TRUE(user.files->downloadFile(request).getStringBody() == content);
    std::stringbuf sink;
    const auto streamed = FileDownloadRequest(location).withStreamFactory(
        [&] { return std::make_unique<std::iostream>(&sink); });
    EXPECT_EQ(user.files->downloadFile(streamed).getStringBody(), "");
    EXPECT_TRUE(sink.str() == content);

    const auto failing = FileDownloadRequest(location).withStreamFactory(
        [] { return std::make_unique<std::iostream>(nullptr); });
    EXPECT_EQ(causeOf([&] { user.files->downloadFile(failing); }),
              "the stream did not take all of the download");
    EXPECT_EQ(causeOf([&] { user.files->downloadFile(FileDownloadRequest(location)); }),
              "the download has no stream to go into");
    now += 16min;
    for (const std::string& bad :
         {location, std::string(), std::string("kvxstore://download/x/f")}) {
        EXPECT_EQ(codeOf([&] {
                      user.files->downloadFile(FileDownloadRequest(bad).withReadIntoString(true));
                  }),
                  Code::RESOURCE_NOT_FOUND);
    }
    timed->sweep();
    EXPECT_EQ(timed->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, KeepsMetadataUntilTheContentChanges) {
    const auto time = std::chrono::system_clock::time_point(123456789ns);
    account.put(u"/f", "1");
    const std::string watermark = account.stat(u"/f").getWatermark();
    account.files->setMetadata(SetMetadataRequest({u"/f", u""}).withClientLastModified(time));
    EXPECT_EQ(account.stat(u"/f").getClientLastModified(), time);
    EXPECT_NE(account.stat(u"/f").getWatermark(), watermark);
    EXPECT_EQ(account.files->listFolder(FolderListRequest({u"/", u""}))
                  .getFiles()
                  .at(0)
                  .getClientLastModified(),
              time);
    account.put(u"/f", "2");
    EXPECT_EQ(account.stat(u"/f").getClientLastModified(), std::chrono::system_clock::time_point());
}

TEST_F(StoreTest, ChecksSessions) {
    auto now = std::chrono::system_clock::now();
    const auto timed =
        Store::open("sqlite::memory:", {.sessionLifetime = 90s, .clock = [&] { return now; }});
    const std::string good = timed->createUser({.name = u"u"});
    const auto client = timed->createClient();
    const auto files = client->createFileAccess();
    const auto use = [&] { files->listFolder(FolderListRequest({u"/", u""})); };
    EXPECT_EQ(client->ping().getValue(), "pong");
    EXPECT_EQ(codeOf([&] { client->login(LoginRequest().withToken("wrong")); }),
              Code::INVALID_TOKEN);
    EXPECT_EQ(codeOf(use), Code::UNAUTHORIZED);
    client->withSessionId("never given out");
    EXPECT_EQ(codeOf(use), Code::INVALID_SESSION_ID);
    const auto login = client->login(LoginRequest().withToken(good));
    EXPECT_EQ(login.getMinutesBeforeRelogin(), 1);
    client->withSessionId(login.getSessionId());
    EXPECT_EQ(codeOf(use), std::nullopt);
    now += 91s;
    EXPECT_EQ(codeOf(use), Code::SESSION_EXPIRED);
    client->withSessionId(client->login(LoginRequest().withToken(good)).getSessionId());
    client->logout(LogoutRequest());
    EXPECT_EQ(codeOf(use), Code::INVALID_SESSION_ID);
    client->withSessionId(client->login(LoginRequest().withToken(good)).getSessionId());
    timed->removeUser(u"u");
    EXPECT_EQ(codeOf(use), Code::INVALID_SESSION_ID);
    EXPECT_EQ(codeOf([&] { client->login(LoginRequest().withToken(good)); }), Code::INVALID_TOKEN);
}

TEST_F(StoreTest, EnforcesQuotaAndSizeLimit) {
    const auto limited = Store::open("sqlite::memory:", {.fileSizeLimit = 60});
    const Account user(*limited, limited->createUser({.name = u"u", .quota = 100}));
    const auto put = [&](std::u16string path, std::size_t size, bool newVersion = false) {
        return codeOf([&] { user.put(path, std::string(size, 'x'), newVersion); });
    };
    EXPECT_EQ(put(u"/big", 61), Code::FILE_TOO_LARGE);
    EXPECT_EQ(put(u"/f", 60), std::nullopt);
    EXPECT_EQ(put(u"/g", 41), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(put(u"/f", 41, true), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(put(u"/f", 59), std::nullopt);
    EXPECT_EQ(codeOf([&] { user.copy(u"/f", u"/copy"); }), Code::QUOTA_EXCEEDED);
    limited->createBucket(u"second", u"u");
    EXPECT_EQ(codeOf([&] { user.put(u"/g", std::string(42, 'x'), false, u"second"); }),
              Code::QUOTA_EXCEEDED);
    // What was deleted makes room at once, whether or not it was purged.
    user.files->deleteFile(FileDeleteRequest({u"/f", u""}));
    EXPECT_EQ(put(u"/g", 60), std::nullopt);
    EXPECT_EQ(limited->listUsers().at(0).used, 60U);
}

TEST_F(StoreTest, HidesOtherUsersBuckets) {
    account.put(u"/secret", "x");
    const Account other(*store, store->createUser({.name = u"other"}));
    EXPECT_EQ(codeOf([&] { other.get(u"/secret", u"main"); }), Code::RESOURCE_NOT_FOUND);
    EXPECT_EQ(codeOf([&] { other.put(u"/x", "x", false, u"main"); }), Code::RESOURCE_NOT_FOUND);
    EXPECT_EQ(codeOf([&] {
                  other.files->copy(MoveOrCopyRequest({u"/secret", u"main"}, {u"/x", u""}));
              }),
              Code::RESOURCE_NOT_FOUND);
    EXPECT_EQ(other.list(u"/"), "");
}

TEST_F(StoreTest, RefusesAdministrationInPlainWords) {
    const auto message = [](const std::function<void()>& action) -> std::string {
        try {
            action();
        } catch (const StoreError& error) {
            return error.what();
        }
        return "done";
    };
    EXPECT_EQ(message([&] { store->createUser({.name = u"main"}); }),
              "there is a user \"main\" already");
    EXPECT_EQ(message([&] { store->createUser({.name = u"a/b"}); }),
              "not a name for a user or bucket: \"a/b\"");
    EXPECT_EQ(message([&] { store->createBucket(u"main", u"main"); }),
              "there is a bucket \"main\" already");
    EXPECT_EQ(message([&] { store->createBucket(u"b", u"nobody"); }),
              "there is no user \"nobody\"");
    EXPECT_EQ(message([&] { store->removeUser(u"nobody"); }), "there is no user \"nobody\"");
    EXPECT_EQ(store->listUsers().size(), 1U);
    EXPECT_EQ(store->listBuckets().size(), 1U);
}

TEST_F(StoreTest, DeepAndWideTreesWork) {
    std::u16string path;
    for (int level = 0; level < 100; ++level) {
        path += u"/level";
        account.makeFolder(path);
    }
    account.put(path + u"/f", "deep");
    account.move(u"/level", u"/top");
    EXPECT_EQ(account.get(u"/top" + path.substr(6) + u"/f"), "deep");
    account.copy(u"/top", u"/copy");
    EXPECT_EQ(
        account.files->listMultiFolder(MultiFolderListRequest({u"/", u""})).getFolders().size(),
        201U);
    account.removeFolder(u"/top", true);
    store->sweep();
    EXPECT_EQ(account.get(u"/copy" + path.substr(6) + u"/f"), "deep");
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace storage::kvxstore
