#include <atomic>
#include <sstream>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

using Seconds = std::chrono::seconds;
const std::vector<std::string> sound;

/// A store whose clock stands still, with a user who may store 10,000 bytes.
class ChargeTest : public testing::Test {
protected:
    std::shared_ptr<Store> openStore(StoreOptions options = {}, const std::string& url = {}) {
        options.clock = [this] { return std::chrono::sys_seconds(now.load()); };
        options.sessionLifetime = 1'000h;
        return Store::open(url.empty() ? folder.url() : url, options);
    }

    /// Writes 10 bytes to each of so many files, or so many versions of one.
    void putMany(const Resource& resource, unsigned long count, bool versions) const {
        for (unsigned long i = 0; i < count; ++i) {
            const Resource each(versions ? resource.getPath() : numbered(resource.getPath(), i),
                                resource.getBucket());
            FileCreateRequest request = createRequest(each, "0123456789");
            user.files->createFile(
                request.withCreateNewVersion(versions),
                [](FileWriteResponse, std::exception_ptr error) { EXPECT_FALSE(error); });
        }
        user.client->waitForPendingCalls();
    }

    std::string openForReading(const std::u16string& path,
                               const std::u16string& bucket = u"") const {
        return user.files->createReadOnlyFileHandle(FileHandleReadOnlyCreateRequest({path, bucket}))
            .getFileHandleId();
    }
    void close(const std::string& handle) const {
        user.files->closeFileHandle(FileHandleCloseRequest({u"", u""})
                                        .withFileHandleId(handle)
                                        .withOperation(FileHandleCloseOperation::ABORT_CHANGES));
    }
    std::string makeLocation(const std::u16string& path) const {
        return user.files->createFileDownload(FileDownloadCreateRequest({path, u""})).getLocation();
    }
    void remove(const std::u16string& path) const {
        user.files->deleteFile(FileDeleteRequest({path, u""}));
    }
    unsigned long used() const { return store->listUsers().at(0).used; }

    TemporaryFolder folder;
    std::atomic<Seconds> now{Seconds(1'000'000'000)};
    std::shared_ptr<Store> store = openStore();
    Account user{*store, store->createUser({.name = u"ada", .quota = 10'000})};
};

TEST_F(ChargeTest, WhatOnlyAHandleOrDownloadLocationHoldsCountsUntilItIsLetGo) {
    std::vector<std::string> handles;
    const auto hold = [&] { handles.push_back(openForReading(u"/f")); };
    struct {
        const char* what;
        std::function<void()> hold;
        bool replaces;
    } const cases[] = {
        {"handle, deleted", hold, false},
        {"handle, replaced", hold, true},
        {"handle to write, replaced", [&] { handles.push_back(OpenFile(user, u"/f").id); }, true},
        {"location, deleted", [&] { makeLocation(u"/f"); }, false},
        {"location, replaced", [&] { makeLocation(u"/f"); }, true},
        {"both, deleted",
         [&] {
             hold();
             makeLocation(u"/f");
         },
         false},
    };
    for (const auto& [what, holdFile, replaces] : cases) {
        std::optional<Code> refusal;
        int stored = 0;
        while (!refusal && stored < 100) {
            refusal = codeOf([&, &holdOne = holdFile, replace = replaces] {
                user.put(u"/f", std::string(1000, static_cast<char>('a' + stored)));
                holdOne();
                if (!replace) {
                    remove(u"/f");
                }
            });
            ++stored;
        }
        EXPECT_EQ(refusal, Code::QUOTA_EXCEEDED) << what;
        EXPECT_EQ(stored, 11) << what;
        EXPECT_EQ(store->verify(), sound) << what;
        store->sweep();
        EXPECT_EQ(used(), 10'000U) << what;
        EXPECT_EQ(store->verify(), sound) << what;
        const std::string copy = std::string("copy: ") + what;
        store->backup(folder.file(copy));
        EXPECT_EQ(Store::open(folder.url(copy))->listUsers().at(0).used, replaces ? 1'000U : 0U)
            << "nobody holds anything in a backup";
        for (const std::string& handle : handles) {
            close(handle);
        }
        handles.clear();
        // Nothing has to be cleaned before the room is there again.
        now = now.load() + 15min;
        const std::string rest(replaces ? 9'000 : 10'000, 'x');
        EXPECT_EQ(codeOf([&] { user.put(u"/all", rest); }), std::nullopt) << what;
        remove(u"/all");
        if (replaces) {
            remove(u"/f");
        }
        store->sweep();
        EXPECT_EQ(used(), 0U) << what;
        EXPECT_EQ(store->statistics().stored, 0U) << what;
        EXPECT_EQ(store->verify(), sound) << what;
    }
}

TEST_F(ChargeTest, AHeldContentCountsOnceAndWhereItWasPaidFor) {
    const Account bob(*store, store->createUser({.name = u"bob"}));
    for (const std::u16string name : {u"ada", u"bob"}) {
        (name == u"ada" ? bob : user)
            .sharing->grantPermission(PermissionGrantRequest({u"/", u""})
                                          .withSubject(Subject().withSubjectName(name))
                                          .withOperation(Operation::READ_WRITE));
    }
    const auto expectUsed = [&](unsigned long ofAda, unsigned long ofBob) {
        store->sweep();
        EXPECT_EQ(store->listUsers().at(0).used, ofAda);
        EXPECT_EQ(store->listUsers().at(1).used, ofBob);
        EXPECT_EQ(store->verify(), sound);
    };
    user.put(u"/f", std::string(1000, 'x'));
    user.copy(u"/f", u"/g");
    user.files->copy(MoveOrCopyRequest({u"/f", u""}, {u"/h", u"bob"}));
    const std::string first = openForReading(u"/f");
    const std::string second = openForReading(u"/h", u"bob");
    remove(u"/f");
    expectUsed(1000, 1000);
    remove(u"/g");
    expectUsed(0, 1000);
    bob.files->deleteFile(FileDeleteRequest({u"/h", u""}));
    expectUsed(0, 1000);
    close(first);
    expectUsed(0, 1000);
    close(second);
    expectUsed(0, 0);
    // A content that its file gets again needs no room beside itself.
    user.put(u"/f", std::string(10'000, 'x'));
    const std::string held = openForReading(u"/f");
    user.versioning->restoreVersion(VersionRestoreRequest({u"/f", u""}));
    user.put(u"/f", std::string(10'000, 'x'));
    expectUsed(10'000, 0);
    close(held);
    expectUsed(10'000, 0);
    // A bucket that is gone is owed nothing.
    bob.put(u"/f", "content");
    const std::string orphan = openForReading(u"/f", u"bob");
    bob.files->deleteFile(FileDeleteRequest({u"/f", u""}));
    store->removeUser(u"bob");
    store->sweep();
    EXPECT_EQ(store->verify(), sound);
    close(orphan);
    store->sweep();
    EXPECT_EQ(store->statistics().stored, 10'000U);
    EXPECT_EQ(store->verify(), sound);
}

/// Makes a purge fail that meets the condition; `old` is the node.
void refusePurge(const RawDatabase& database, const std::string& condition) {
    database.run("create trigger no_purge before delete on nodes when " + condition +
                 " begin select raise(abort, 'purged'); end");
}

TEST_F(ChargeTest, ARefusedWritePurgesNothing) {
    const RawDatabase database(folder.file("store.db"));
    refusePurge(database, "true");
    const Account bob(*store, store->createUser({.name = u"bob"}));
    for (const auto* owner : std::initializer_list<const Account*>{&user, &bob}) {
        for (int i = 0; i < 4; ++i) {
            owner->put(u"/f", std::string(1000, 'x'));
            owner->files->deleteFile(FileDeleteRequest({u"/f", u""}));
        }
    }
    user.makeFolder(u"/d");
    user.put(u"/d/f", std::string(1000, 'x'));
    user.removeFolder(u"/d", true);
    user.put(u"/kept", std::string(3000, 'x'));
    const auto put = [&](std::size_t size) {
        return codeOf([&] { user.put(u"/new", std::string(size, 'x')); });
    };
    EXPECT_EQ(put(10'001), Code::QUOTA_EXCEEDED) << "no purge could ever make room";
    EXPECT_EQ(put(7'001), Code::QUOTA_EXCEEDED) << "the owner's trash holds too little";
    EXPECT_EQ(put(7'000), Code::INTERNAL_SERVER_ERROR) << "this is what a purge looks like";
    EXPECT_EQ(put(2'000), std::nullopt);
}

TEST_F(ChargeTest, AWriteThatFindsNoRoomPurgesTheOwnersTrashOnlyAsFarAsItHelps) {
    const Account bob(*store, store->createUser({.name = u"bob"}));
    const RawDatabase database(folder.file("store.db"));
    refusePurge(database, "old.bucket = (select id from buckets where name = 'bob')");
    store->createBucket(u"second", u"ada");
    bob.put(u"/f", "content");
    bob.files->deleteFile(FileDeleteRequest({u"/f", u""}));
    // A portion is of 1,024 nodes, and the background task stumbles over what is bob's.
    store->setQuota(u"ada", 30'000);
    const Resource below(u"/d", u"second");
    user.makeFolder(u"/d", u"second");
    putMany({u"/d/", u"second"}, 3'000, false);
    user.files->deleteFolder(FolderDeleteRequest(below).withForceRecursive(true));
    EXPECT_EQ(used(), 30'000U);
    EXPECT_EQ(codeOf([&] { user.put(u"/f", std::string(3'000, 'x')); }), std::nullopt);
    const unsigned long left = store->statistics().versions - 2;
    EXPECT_LE(left, 2'000U);
    EXPECT_GE(left, 1'900U);
    EXPECT_EQ(used(), left * 10 + 3'000);
    EXPECT_EQ(store->verify(), sound);
    // A purge that fails in the end has freed what came before.
    database.run("drop trigger no_purge");
    refusePurge(database, "(select count(*) from versions) < 500");
    EXPECT_EQ(codeOf([&] { user.put(u"/g", std::string(26'500, 'x')); }),
              Code::INTERNAL_SERVER_ERROR);
    EXPECT_LT(store->statistics().versions, left - 500);
    EXPECT_EQ(store->verify(), sound);
}

TEST_F(ChargeTest, WhatIsReplacedMakesRoomTogetherWithWhatWasDeleted) {
    store->createBucket(u"second", u"ada");
    const Resource target(u"/d", u"second");
    for (const bool moves : {false, true}) {
        user.makeFolder(u"/source");
        user.put(u"/source/f", std::string(5'000, 'x'));
        user.makeFolder(u"/d", u"second");
        user.put(u"/d/f", std::string(2'000, 'x'), false, u"second");
        user.put(u"/deleted", std::string(3'000, 'x'));
        remove(u"/deleted");
        const auto request = MoveOrCopyRequest({u"/source", u""}, target).withTargetOverwrite(true);
        EXPECT_EQ(codeOf([&] { moves ? user.files->move(request) : user.files->copy(request); }),
                  std::nullopt);
        store->sweep();
        EXPECT_EQ(used(), moves ? 5'000U : 10'000U);
        EXPECT_EQ(store->verify(), sound);
        user.files->deleteFolder(FolderDeleteRequest(target).withForceRecursive(true));
        if (!moves) {
            user.removeFolder(u"/source", true);
        }
        store->sweep();
    }
}

TEST_F(ChargeTest, SumsBeyondTheLargestNumberAreCounted) {
    constexpr unsigned long size = (1UL << 62U) + 1;
    const auto large = openStore({.fileSizeLimit = ~0UL});
    for (unsigned long users = 1; users <= 4; ++users) {
        const std::u16string name = numbered(u"u", users);
        const Account owner(*large, large->createUser({.name = name}));
        const OpenFile file(owner, u"/hole");
        file.write(size - 1, "x");
        file.close();
        EXPECT_EQ(large->statistics().used, users == 4 ? ~0UL : users * size);
        EXPECT_EQ(codeOf([&] { owner.copy(u"/hole", u"/copy"); }), Code::QUOTA_EXCEEDED);
    }
    EXPECT_EQ(large->verify(), sound);
}

TEST_F(ChargeTest, TextsAreOfBoundedLength) {
    user.makeFolder(u"/d");
    const auto create = [&](const std::string& type) {
        return codeOf([&] {
            user.files->createFile(FileCreateRequest({u"/f", u""}).withContentType(type));
        });
    };
    const auto open = [&](const std::string& type) {
        return codeOf(
            [&] { OpenFile(user, u"/f", FileCreateMode::CREATE_OR_UPDATE, false, type).close(); });
    };
    const auto invite = [&](const std::u16string& recipient) {
        return codeOf([&] {
            user.sharing->createInvitation(
                InvitationCreateRequest({u"/d", u""}).withRecipient(recipient));
        });
    };
    struct {
        std::size_t length;
        char end;
        bool refused;
    } const cases[] = {{255, 'x', false}, {256, 'x', true}, {20, '\0', true}, {8 << 20, 'x', true}};
    for (const auto& [length, end, refused] : cases) {
        const std::string text = std::string(length - 1, 'x') + end;
        const auto type = refused ? std::optional(Code::UNKNOWN) : std::nullopt;
        EXPECT_EQ(create(text), type) << length;
        EXPECT_EQ(open(text), type) << length;
        EXPECT_EQ(invite({text.begin(), text.end()}),
                  refused ? std::optional(Code::RESOURCE_NOT_FOUND) : std::nullopt)
            << length;
    }
    EXPECT_EQ(invite(u"a\xD800"), Code::RESOURCE_NOT_FOUND);
}

TEST_F(ChargeTest, WhatCostsNoBytesIsOfBoundedNumber) {
    const auto limited = openStore({.handleLimit = 3, .downloadLimit = 2});
    user.put(u"/f", "content");
    user.makeFolder(u"/d");
    const std::string token = store->createUser({.name = u"bob"});
    const Account bob(*limited, token);
    const Account ada(*limited, store->renewToken(u"ada"));
    std::vector<std::string> handles;
    for (int i = 0; i < 3; ++i) {
        handles.push_back(OpenFile(ada, i == 0 ? u"/new" : u"/f").id);
    }
    EXPECT_EQ(codeOf([&] { OpenFile(ada, u"/new"); }), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(codeOf([&] { OpenFile(ada, u"/f"); }), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(codeOf([&] { OpenFile(bob, u"/f"); }), std::nullopt) << "the limit is for each user";
    ada.files->closeFileHandle(
        FileHandleCloseRequest({u"", u""}).withFileHandleId(handles.front()));
    EXPECT_EQ(codeOf([&] { OpenFile(ada, u"/f"); }), std::nullopt);

    const auto offer = [&] {
        return codeOf([&] {
            ada.files->createFileDownload(FileDownloadCreateRequest({u"/f", u""}));
        });
    };
    EXPECT_EQ(offer(), std::nullopt);
    EXPECT_EQ(offer(), std::nullopt);
    EXPECT_EQ(offer(), Code::QUOTA_EXCEEDED);
    now = now.load() + 15min;
    EXPECT_EQ(offer(), std::nullopt);
}

TEST_F(ChargeTest, AUserHasABoundedNumberOfSessions) {
    const auto inMemory = openStore({}, "sqlite::memory:");
    const std::string token = inMemory->createUser({.name = u"ada"});
    const auto client = inMemory->createClient();
    const auto files = client->createFileAccess();
    const auto login = [&] {
        return client->login(LoginRequest().withToken(token)).getSessionId();
    };
    const auto isOpen = [&](const std::string& session) {
        client->withSessionId(session);
        return codeOf([&] { files->listFolder(FolderListRequest({u"/", u""})); }) == std::nullopt;
    };
    const std::string first = login();
    now = now.load() + 1s;
    const std::string second = login();
    now = now.load() + 1s;
    for (int i = 2; i < 1'024; ++i) {
        login();
    }
    EXPECT_TRUE(isOpen(first));
    login();
    EXPECT_FALSE(isOpen(first));
    EXPECT_TRUE(isOpen(second));
}

TEST_F(ChargeTest, AFolderIsSharedABoundedNumberOfTimes) {
    user.makeFolder(u"/d");
    const auto grant = [&](const std::u16string& subject, Operation operation = Operation::READ) {
        return codeOf([&] {
            user.sharing->grantPermission(PermissionGrantRequest({u"/d", u""})
                                              .withSubject(Subject().withSubjectName(subject))
                                              .withAllowNonExistingUser(true)
                                              .withOperation(operation));
        });
    };
    const auto invite = [&] {
        return codeOf([&] {
            user.sharing->createInvitation(InvitationCreateRequest({u"/d", u""}));
        });
    };
    EXPECT_EQ(grant(u"first"), std::nullopt);
    EXPECT_EQ(invite(), std::nullopt);
    RawDatabase(folder.file("store.db"))
        .run(
            "with recursive n(i) as (select 1 union all select i + 1 from n where i < 9998)"
            " insert into grants(node, grantee, name, level, invitation, seq)"
            " select node, 0, 'n' || i, 1, '', 0 from grants, n where name = 'first'");
    EXPECT_EQ(grant(u"last"), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(invite(), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(grant(u"n1", Operation::READ_WRITE), std::nullopt) << "it adds nothing";
    EXPECT_EQ(store->verify(), sound);
}

TEST_F(ChargeTest, NoAnswerIsLargerThanTheLimit) {
    const auto limited = openStore({.readLimit = 100});
    const Account ada(*limited, store->renewToken(u"ada"));
    ada.put(u"/fits", std::string(100, 'x'));
    ada.put(u"/large", std::string(101, 'x'));
    const auto offer = [&](const std::u16string& path) {
        return FileDownloadRequest(
            ada.files->createFileDownload(FileDownloadCreateRequest({path, u""})).getLocation());
    };
    for (const std::u16string path : {u"/fits", u"/large"}) {
        const auto expected =
            path == u"/large" ? std::optional(Code::FILE_TOO_LARGE) : std::nullopt;
        EXPECT_EQ(codeOf([&] { ada.get(path); }), expected);
        EXPECT_EQ(codeOf([&] { ada.files->downloadFile(offer(path).withReadIntoString(true)); }),
                  expected);
        EXPECT_EQ(codeOf([&] { OpenFile(ada, path).read(0, ~0UL); }), expected);
        EXPECT_EQ(OpenFile(ada, path).read(1, 100).size(), path == u"/large" ? 100U : 99U);
        std::ostringstream sink;
        ada.files->downloadFile(offer(path).withStreamFactory(
            [&] { return std::make_unique<std::iostream>(sink.rdbuf()); }));
        EXPECT_EQ(sink.str().size(), path == u"/large" ? 101U : 100U);
    }
    // A hole of a tebibyte costs one byte, and reading it nothing.
    const Account rich(*store, store->createUser({.name = u"rich"}));
    const OpenFile hole(rich, u"/hole");
    hole.write((1UL << 40U) - 1, "x");
    EXPECT_EQ(codeOf([&] { hole.read(0, ~0UL); }), Code::FILE_TOO_LARGE);
    hole.close();
    EXPECT_EQ(codeOf([&] { rich.get(u"/hole"); }), Code::FILE_TOO_LARGE);
}

/// The labels of a file's versions.
std::vector<int> labelsOf(const Account& account, const Resource& file) {
    std::vector<int> labels;
    for (const VersionSummary& version :
         account.versioning->listVersions(VersionListRequest(file)).getVersions()) {
        labels.push_back(version.getVersionLabel());
    }
    return labels;
}

TEST_F(ChargeTest, PruneRemovesTheVersionsThatNoRuleKeeps) {
    using Labels = std::vector<int>;
    constexpr auto day = Seconds(24h);
    const Seconds start = now;
    struct {
        std::optional<unsigned long> keepLast;
        std::optional<Seconds> keepFor;
        Labels left;
    } const cases[] = {
        {1, {}, {6}},
        {0, {}, {6}},
        {3, {}, {4, 5, 6}},
        {~0UL, {}, {1, 2, 3, 4, 5, 6}},
        {{}, 2 * day, {4, 5, 6}},
        {{}, Seconds(0), {6}},
        {{}, Seconds(-1), {6}},
        {{}, Seconds::max(), {1, 2, 3, 4, 5, 6}},
        {1, 2 * day, {4, 5, 6}},
        {4, 2 * day, {3, 4, 5, 6}},
    };
    for (const auto& [keepLast, keepFor, left] : cases) {
        // A version a day, of 1, 2, 4, 8, 16 and 32 bytes, and one file that has nothing to lose.
        now = start;
        user.put(u"/single", "content");
        for (int i = 0; i < 6; ++i) {
            user.put(u"/f", std::string(1UL << i, 'x'), true);
            now = now.load() + (i < 5 ? day : Seconds(0));
        }
        PruneRules rules{.keepLast = keepLast, .keepFor = keepFor, .dryRun = true};
        const std::size_t gone = 6 - left.size();
        const auto run = [&] {
            const Pruned pruned = store->prune(rules);
            EXPECT_EQ(pruned.versions, gone);
            EXPECT_EQ(pruned.bytes, (1UL << gone) - 1);
        };
        run();
        EXPECT_EQ(labelsOf(user, {u"/f", u""}).size(), 6U);
        rules.dryRun = false;
        run();
        EXPECT_EQ(labelsOf(user, {u"/f", u""}), left);
        EXPECT_EQ(user.get(u"/f"), std::string(32, 'x'));
        EXPECT_EQ(used(), 63 - ((1UL << gone) - 1) + 7);
        EXPECT_EQ(store->verify(), sound);
        remove(u"/f");
        store->sweep();
    }
}

TEST_F(ChargeTest, PruneLooksWhereItIsTold) {
    const Account bob(*store, store->createUser({.name = u"bob"}));
    store->createBucket(u"team", u"ada");
    putMany({u"/f", u""}, 600, true);
    user.put(u"/f", "content", true, u"team");
    user.put(u"/f", "content", true, u"team");
    bob.put(u"/f", "content", true);
    bob.put(u"/f", "content", true);
    const auto prune = [&](const std::u16string& bucket, const std::u16string& owner) {
        return store->prune({.keepLast = 1, .bucket = bucket, .user = owner}).versions;
    };
    EXPECT_EQ(storeErrorOf([&] { prune(u"none", u""); })->code(), StoreErrorCode::NOT_FOUND);
    EXPECT_EQ(storeErrorOf([&] { prune(u"", u"team"); })->code(), StoreErrorCode::NOT_FOUND);
    EXPECT_TRUE(storeErrorOf([&] { store->prune({}); }));
    EXPECT_EQ(prune(u"team", u"bob"), 0U);
    EXPECT_EQ(prune(u"team", u""), 1U);
    EXPECT_EQ(prune(u"", u"bob"), 1U);
    EXPECT_EQ(prune(u"", u""), 599U);
    EXPECT_EQ(prune(u"", u""), 0U);
    // What a handle holds counts until it is closed.
    user.put(u"/f", "content", true);
    FileHandleReadOnlyCreateRequest request({u"/f", u""});
    const std::string old =
        user.files->createReadOnlyFileHandle(request.withVersionLabel(600)).getFileHandleId();
    EXPECT_EQ(prune(u"", u""), 1U);
    store->sweep();
    EXPECT_EQ(used(), 24U);
    close(old);
    EXPECT_EQ(used(), 14U);
    EXPECT_EQ(store->verify(), sound);
}

}  // namespace
}  // namespace storage::kvxstore
