#include <atomic>
#include <sstream>

#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

TEST_F(StoreTest, AWriteOfTheSameBytesSharesThem) {
    const std::string bytes(300'000, 'b');
    account.put(u"/f", bytes);
    const unsigned long stored = store->statistics().stored;
    account.put(u"/f", bytes, true);
    const OpenFile file(account, u"/f", FileCreateMode::UPDATE, true);
    file.write(0, bytes);
    file.close(FileHandleCloseOperation::COMMIT_CHANGES, true);
    store->sweep();
    EXPECT_EQ(store->statistics().stored, stored);
    EXPECT_EQ(store->statistics().used, 3 * bytes.size());
    account.put(u"/f", std::string(300'000, 'c'));
    const auto first = account.files->readFile(FileReadRequest({u"/f", u""}).withVersionLabel(1));
    EXPECT_EQ(first.getResponseBody(), std::vector<char>(bytes.begin(), bytes.end()));
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

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
        {"read: missing parent", get(u"/none/file"), Code::RESOURCE_NOT_FOUND},
        {"read: no such bucket", [&] { account.get(u"/file", u"none"); }, Code::RESOURCE_NOT_FOUND},
        {"folder: root", [&] { account.makeFolder(u"/"); }, Code::CONFLICT},
        {"delete folder: root", [&] { account.removeFolder(u"/", true); }, Code::CONFLICT},
        {"move: kinds differ", move(u"/file", u"/folder", true), Code::CONFLICT},
        {"move: onto itself", move(u"/file", u"/file", true), Code::CONFLICT},
        {"move: onto its parent", move(u"/folder/sub", u"/folder", true), Code::CONFLICT},
        {"move: root", move(u"/", u"/x"), Code::CONFLICT},
        {"move: onto the root", move(u"/folder", u"/", true), Code::CONFLICT},
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

TEST_F(StoreTest, NothingMovesToWhereNoPathReaches) {
    for (const std::u16string letter : {u"n", u"\u20AC", u"\U0001F600"}) {
        const auto name = [&](std::size_t units) {
            std::u16string text(units % letter.size(), u'n');
            while (text.size() < units) {
                text += letter;
            }
            return u'/' + text;
        };
        std::u16string path = u"/a";
        for (account.makeFolder(path); path.size() + 256 < 4096;) {
            account.makeFolder(path += name(255));
        }
        const OpenFile file(account, path += name(4095 - path.size()));
        account.move(u"/a", u"/bb");
        EXPECT_EQ(codeOf([&] { file.close(); }), Code::ILLEGAL_PATH);
        account.move(u"/bb", u"/a");
        file.close();
        account.put(path, "deep");
        EXPECT_EQ(codeOf([&] { account.move(u"/a", u"/bb"); }), Code::ILLEGAL_PATH);
        EXPECT_EQ(codeOf([&] { account.copy(u"/a", u"/bb"); }), Code::ILLEGAL_PATH);
        account.copy(u"/a", u"/c");
        account.move(u"/a", u"/b");
        EXPECT_EQ(account.get(u"/b" + path.substr(2)), account.get(u"/c" + path.substr(2)));
        account.removeFolder(u"/b", true);
        account.removeFolder(u"/c", true);
    }
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
    const auto start = std::chrono::system_clock::now();
    std::atomic<std::chrono::minutes> later{0min};  // The store's threads look at it too.
    const auto timed = Store::open(newStoreUrl(), {.clock = [&] { return start + later.load(); }});
    const Account user(*timed, timed->createUser({.name = u"u"}));
    const std::string content(600'000, 'x');
    user.put(u"/my file", content);
    const std::string location =
        user.files->createFileDownload(FileDownloadCreateRequest({u"/my file", u""})).getLocation();
    EXPECT_EQ(FileDownloadRequest(location).getLocationFilename(), "/my%20file");
    user.put(u"/my file", "overwritten");
    user.remove(u"/my file");
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
    later = 16min;
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

TEST_F(StoreTest, ChecksSessions) {
    const auto start = std::chrono::system_clock::now();
    std::atomic<std::chrono::seconds> later{0s};
    const auto timed = Store::open(
        newStoreUrl(), {.sessionLifetime = 90s, .clock = [&] { return start + later.load(); }});
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
    later = 91s;
    EXPECT_EQ(codeOf(use), Code::SESSION_EXPIRED);
    client->withSessionId(client->login(LoginRequest().withToken(good)).getSessionId());
    client->logout(LogoutRequest());
    EXPECT_EQ(codeOf(use), Code::INVALID_SESSION_ID);
    std::string current = good;
    const auto expectEndOfLogins = [&](const std::function<void()>& action) {
        client->withSessionId(client->login(LoginRequest().withToken(current)).getSessionId());
        EXPECT_EQ(codeOf(use), std::nullopt);
        const std::string old = current;
        action();
        EXPECT_EQ(codeOf(use), Code::INVALID_SESSION_ID);
        EXPECT_EQ(codeOf([&] { client->login(LoginRequest().withToken(old)); }),
                  Code::INVALID_TOKEN);
    };
    expectEndOfLogins([&] { current = timed->renewToken(u"u"); });
    expectEndOfLogins([&] { timed->removeUser(u"u"); });
}

TEST_F(StoreTest, EnforcesQuotaAndSizeLimit) {
    const auto limited = Store::open(newStoreUrl(), {.fileSizeLimit = 60});
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
    user.remove(u"/f");
    EXPECT_EQ(put(u"/g", 60), std::nullopt);
    EXPECT_EQ(limited->listUsers().at(0).used, 60U);
    // So does what is overwritten; where that is not enough, it stays.
    EXPECT_EQ(put(u"/h", 40), std::nullopt);
    EXPECT_EQ(codeOf([&] { user.copy(u"/g", u"/h", true); }), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(user.stat(u"/h").getSize(), 40U);
    EXPECT_EQ(codeOf([&] { user.copy(u"/h", u"/g", true); }), std::nullopt);
    const Account other(*limited, limited->createUser({.name = u"v"}));
    other.put(u"/f", std::string(60, 'x'));
    user.sharing->grantPermission(PermissionGrantRequest({u"/", u""})
                                      .withSubject(Subject().withSubjectName(u"v"))
                                      .withOperation(Operation::READ_WRITE));
    const auto request = MoveOrCopyRequest({u"/f", u""}, {u"/g", u"u"}).withTargetOverwrite(true);
    EXPECT_EQ(codeOf([&] { other.files->move(request); }), std::nullopt);
    EXPECT_EQ(limited->listUsers().at(0).used, 100U);
    EXPECT_EQ(limited->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, RefusesAdministrationInPlainWords) {
    store->createUser({.name = u"other"});
    store->createBucket(u"taken", u"other");
    using enum StoreErrorCode;
    struct {
        std::function<void()> action;
        StoreErrorCode code;
        std::string message;
    } const cases[] = {
        {[&] { store->createUser({.name = u"main"}); }, ALREADY_EXISTS,
         "there is a user \"main\" already"},
        {[&] { store->createUser({.name = u"taken"}); }, ALREADY_EXISTS,
         "there is a bucket \"taken\" already"},
        {[&] { store->createUser({.name = u"a/b"}); }, ILLEGAL_NAME,
         "not a name for a user or bucket: \"a/b\""},
        {[&] { store->createBucket(u"", u"main"); }, ILLEGAL_NAME,
         "not a name for a user or bucket: \"\""},
        {[&] { store->createBucket(u"main", u"other"); }, ALREADY_EXISTS,
         "there is a bucket \"main\" already"},
        {[&] { store->createBucket(u"b", u"nobody"); }, NOT_FOUND, "there is no user \"nobody\""},
        {[&] { store->removeUser(u"nobody"); }, NOT_FOUND, "there is no user \"nobody\""},
        {[&] { store->renewToken(u"taken"); }, NOT_FOUND, "there is no user \"taken\""},
        {[&] { store->setQuota(u"nobody", 1); }, NOT_FOUND, "there is no user \"nobody\""},
    };
    for (const auto& [action, code, message] : cases) {
        const auto error = storeErrorOf(action);
        ASSERT_TRUE(error) << message;
        EXPECT_EQ(error->code(), code) << message;
        EXPECT_EQ(error->what(), message);
    }
    EXPECT_EQ(store->listUsers().size(), 2U);
    EXPECT_EQ(store->listBuckets().size(), 3U);
}

}  // namespace
}  // namespace storage::kvxstore
