#include <atomic>
#include <sstream>
#include <utility>

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

    static void close(const Account& account, const std::string& handle) {
        account.close(handle, FileHandleCloseOperation::ABORT_CHANGES);
    }
    unsigned long used() const { return store->listUsers().at(0).used; }

    void TearDown() override { EXPECT_EQ(store->verify(), sound); }

    TemporaryFolder folder;
    std::atomic<Seconds> now{Seconds(1'000'000'000)};
    std::shared_ptr<Store> store = openStore();
    Account user{*store, store->createUser({.name = u"ada", .quota = 10'000})};
};

TEST_F(ChargeTest, WhatOnlyAHandleOrDownloadLocationHoldsCountsUntilItIsLetGo) {
    std::vector<std::string> handles;
    const auto hold = [&] { handles.push_back(user.openToRead(u"/f")); };
    const auto offer = [&] { user.offer(u"/f"); };
    struct {
        const char* what;
        std::function<void()> hold;
        bool replaces;
    } const cases[] = {
        {"handle, deleted", hold, false},
        {"handle, replaced", hold, true},
        {"handle to write, replaced", [&] { handles.push_back(OpenFile(user, u"/f").id); }, true},
        {"location, deleted", offer, false},
        {"location, replaced", offer, true},
        {"both, deleted", [&] { hold(), offer(); }, false},
    };
    for (const auto& [what, holdFile, replaces] : cases) {
        SCOPED_TRACE(what);
        std::optional<Code> refusal;
        int stored = 0;
        for (; !refusal && stored < 100; ++stored) {
            const std::string content(1000, static_cast<char>('a' + stored));
            refusal = codeOf([&, &holdOne = holdFile] {
                user.put(u"/f", content);
                holdOne();
            });
            if (!refusal && !replaces) {
                user.remove(u"/f");
            }
        }
        EXPECT_EQ(refusal, Code::QUOTA_EXCEEDED);
        EXPECT_EQ(stored, 11);
        EXPECT_EQ(store->verify(), sound);
        store->sweep();
        EXPECT_EQ(used(), 10'000U);
        const std::string copy = std::string("copy: ") + what;
        store->backup(folder.file(copy));
        EXPECT_EQ(Store::open(folder.url(copy))->listUsers().at(0).used, replaces ? 1'000U : 0U)
            << "nobody holds anything in a backup";
        for (const std::string& handle : std::exchange(handles, {})) {
            close(user, handle);
        }
        // Nothing has to be cleaned before the room is there again.
        now = now.load() + 15min;
        const std::string rest(replaces ? 9'000 : 10'000, 'x');
        EXPECT_EQ(codeOf([&] { user.put(u"/all", rest); }), std::nullopt);
        user.remove(u"/all");
        if (replaces) {
            user.remove(u"/f");
        }
        store->sweep();
        EXPECT_EQ(used(), 0U);
        EXPECT_EQ(store->statistics().stored, 0U);
        EXPECT_EQ(store->verify(), sound);
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
    const std::string first = user.openToRead(u"/f");
    const std::string second = user.openToRead(u"/h", u"bob");
    user.remove(u"/f");
    expectUsed(1000, 1000);
    user.remove(u"/g");
    expectUsed(0, 1000);
    bob.remove(u"/h");
    expectUsed(0, 1000);
    close(user, first);
    expectUsed(0, 1000);
    close(user, second);
    expectUsed(0, 0);
    // A content that its file gets again needs no room beside itself.
    user.put(u"/f", std::string(10'000, 'x'));
    const std::string held = user.openToRead(u"/f");
    user.versioning->restoreVersion(VersionRestoreRequest({u"/f", u""}));
    user.put(u"/f", std::string(10'000, 'x'));
    expectUsed(10'000, 0);
    close(user, held);
    expectUsed(10'000, 0);
    // A bucket that is gone is owed nothing.
    bob.put(u"/f", "content");
    const std::string orphan = user.openToRead(u"/f", u"bob");
    bob.remove(u"/f");
    store->removeUser(u"bob");
    store->sweep();
    EXPECT_EQ(store->verify(), sound);
    close(user, orphan);
    store->sweep();
    EXPECT_EQ(store->statistics().stored, 10'000U);
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
            owner->remove(u"/f");
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
    bob.remove(u"/f");
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
        user.remove(u"/deleted");
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
    const Account bob(*limited, store->createUser({.name = u"bob"}));
    const Account ada(*limited, store->renewToken(u"ada"));
    const auto open = [](const Account& account, const std::u16string& path) {
        return codeOf([&] { OpenFile(account, path); });
    };
    const OpenFile first(ada, u"/new");
    EXPECT_EQ(open(ada, u"/f"), std::nullopt);
    EXPECT_EQ(open(ada, u"/f"), std::nullopt);
    EXPECT_EQ(open(ada, u"/new"), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(open(ada, u"/f"), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(open(bob, u"/f"), std::nullopt) << "the limit is for each user";
    first.close();
    EXPECT_EQ(open(ada, u"/f"), std::nullopt);

    const auto offer = [&] { return codeOf([&] { ada.offer(u"/f"); }); };
    EXPECT_EQ(offer(), std::nullopt);
    EXPECT_EQ(offer(), std::nullopt);
    EXPECT_EQ(offer(), Code::QUOTA_EXCEEDED);
    now = now.load() + 15min;
    EXPECT_EQ(offer(), std::nullopt);
}

TEST_F(ChargeTest, AUserHasABoundedNumberOfSessions) {
    const auto inMemory = openStore({}, "sqlite::memory:");
    const std::string token = inMemory->createUser({.name = u"ada"});
    const Account first(*inMemory, token);
    now = now.load() + 1s;
    const Account second(*inMemory, token);
    now = now.load() + 1s;
    const auto login = [&] { second.client->login(LoginRequest().withToken(token)); };
    for (int i = 2; i < 1'024; ++i) {
        login();
    }
    EXPECT_EQ(first.list(u"/"), "");
    login();
    EXPECT_EQ(codeOf([&] { first.list(u"/"); }), Code::INVALID_SESSION_ID);
    EXPECT_EQ(second.list(u"/"), "");
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
}

TEST_F(ChargeTest, NoAnswerIsLargerThanTheLimit) {
    const auto limited = openStore({.readLimit = 100});
    const Account ada(*limited, store->renewToken(u"ada"));
    ada.put(u"/fits", std::string(100, 'x'));
    ada.put(u"/large", std::string(101, 'x'));
    for (const auto& [path, size] : {std::pair(u"/fits", 100U), {u"/large", 101U}}) {
        const auto expected = size > 100 ? std::optional(Code::FILE_TOO_LARGE) : std::nullopt;
        const OpenFile file(ada, path);
        FileDownloadRequest download(ada.offer(path));
        EXPECT_EQ(codeOf([&, &each = path] { ada.get(each); }), expected);
        EXPECT_EQ(codeOf([&] { file.read(0, ~0UL); }), expected);
        EXPECT_EQ(file.read(1, 100).size(), size - 1);
        EXPECT_EQ(
            codeOf([&] {
                ada.files->downloadFile(FileDownloadRequest(download).withReadIntoString(true));
            }),
            expected);
        std::ostringstream sink;
        ada.files->downloadFile(download.withStreamFactory(
            [&] { return std::make_unique<std::iostream>(sink.rdbuf()); }));
        EXPECT_EQ(sink.str().size(), size);
    }
    // A hole of a tebibyte costs one byte, and reading it nothing.
    const Account rich(*store, store->createUser({.name = u"rich"}));
    const OpenFile hole(rich, u"/hole");
    hole.write((1UL << 40U) - 1, "x");
    EXPECT_EQ(codeOf([&] { hole.read(0, ~0UL); }), Code::FILE_TOO_LARGE);
    hole.close();
    EXPECT_EQ(codeOf([&] { rich.get(u"/hole"); }), Code::FILE_TOO_LARGE);
}

TEST_F(ChargeTest, PruneRemovesTheVersionsThatNoRuleKeeps) {
    constexpr auto day = Seconds(24h);
    const Seconds start = now;
    struct {
        std::optional<unsigned long> keepLast;
        std::optional<Seconds> keepFor;
        /// How many of the newest versions are left.
        std::size_t left;
    } const cases[] = {
        {1, {}, 1},       {0, {}, 1},          {3, {}, 3},           {~0UL, {}, 6},
        {{}, 2 * day, 3}, {{}, Seconds(0), 1}, {{}, Seconds(-1), 1}, {{}, Seconds::max(), 6},
        {1, 2 * day, 3},  {4, 2 * day, 4},
    };
    for (const auto& [keepLast, keepFor, left] : cases) {
        // A version a day, of 1, 2, 4, 8, 16 and 32 bytes, and one file that has nothing to lose.
        now = start;
        user.put(u"/single", "content");
        for (int i = 0; i < 6; ++i) {
            user.put(u"/f", std::string(1UL << i, 'x'), true);
            now = now.load() + (i < 5 ? day : Seconds(0));
        }
        const std::size_t gone = 6 - left;
        for (const bool dry : {true, false}) {
            const Pruned pruned =
                store->prune({.keepLast = keepLast, .keepFor = keepFor, .dryRun = dry});
            EXPECT_EQ(pruned.versions, gone);
            EXPECT_EQ(pruned.bytes, (1UL << gone) - 1);
            const auto versions =
                user.versioning->listVersions(VersionListRequest({u"/f", u""})).getVersions();
            ASSERT_EQ(versions.size(), dry ? 6U : left);
            EXPECT_EQ(versions.front().getVersionLabel(), dry ? 1 : static_cast<int>(gone) + 1);
        }
        EXPECT_EQ(user.get(u"/f"), std::string(32, 'x'));
        EXPECT_EQ(used(), 63 - ((1UL << gone) - 1) + 7);
        EXPECT_EQ(store->verify(), sound);
        user.remove(u"/f");
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
    const std::string old = user.openToRead(u"/f", u"", 600);
    EXPECT_EQ(prune(u"", u""), 1U);
    store->sweep();
    EXPECT_EQ(used(), 24U);
    close(user, old);
    EXPECT_EQ(used(), 14U);
}

}  // namespace
}  // namespace storage::kvxstore
