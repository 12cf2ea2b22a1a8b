#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <tuple>

#include "PostgresServer.h"
#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using Step = MigrationProgress::Step;

struct Interrupted {};

std::string bytesInFile(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// What differs from byte to byte, so that no two chunks are the same.
std::string noise(std::size_t size) {
    std::string bytes(size, '\0');
    unsigned state = static_cast<unsigned>(size);
    for (char& byte : bytes) {
        state = state * 1'664'525U + 1'013'904'223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

auto seenOf(const MigratedTable& table) {
    return std::tuple(table.name, table.rows, table.checksum);
}

/// A store in a file with a bit of everything, which nobody has open.
class MigrationTest : public testing::Test {
protected:
    struct Look {
        std::vector<std::vector<FileSummary>> files;
        std::vector<std::string> contents;
        std::vector<std::vector<VersionSummary>> versions;
        std::vector<std::vector<Invitation>> invitations;
        std::vector<Permission> permissions;
        ResourcePolicy policy;
        std::vector<std::u16string> profiles;
        std::vector<unsigned long> quotas;

        bool operator==(const Look&) const = default;
    };

    MigrationTest() {
        const auto store = Store::open(from);
        tokens = {store->createUser({.name = u"ada",
                                     .emailAddress = u"ada@example.org",
                                     .firstName = u"\u00c5da",
                                     .quota = 1UL << 30U}),
                  store->createUser({.name = u"bob"})};
        store->createBucket(u"team", u"ada");
        const Account ada(*store, tokens[0]);
        const Account bob(*store, tokens[1]);
        ada.makeFolder(u"/d");
        ada.put(u"/d/big", noise(300'000), true);
        ada.put(u"/d/big", noise(5'000'000), true);
        ada.copy(u"/d/big", u"/copy");
        const OpenFile holes(ada, u"/d/holes");
        holes.write(3'000'000, "end");
        holes.close();
        for (unsigned i = 0; i < 300; ++i) {
            ada.put(numbered(u"/d/f", i), std::to_string(i), false);
        }
        ada.move(u"/d/f0", u"/moved");
        ada.remove(u"/d/f1");
        ada.put(u"/shared", "by the team", false, u"team");
        share(ada, bob);
        ada.configuration->setResourcePolicy(
            ResourcePolicySetRequest()
                .withResource({u"/d", u""})
                .withResourcePolicy(ResourcePolicy().withVersionPolicy(VersionPolicy::DISABLED)));
        // What is not copied: a content that a download location holds, and one that is written.
        ada.put(u"/held", noise(700'000));
        location = ada.offer(u"/held");
        ada.remove(u"/held");
        store->sweep();
        ada.remove(u"/d/f2");
        OpenFile(ada, u"/d/big").write(0, noise(400'000));
        watermark = ada.notification->listFileChanges({}).getCurrentWatermark();
        session = ada.client->getSessionId();
        seen = look(*store);
    }

    static void grant(const Account& owner, const char16_t* name) {
        owner.sharing->grantPermission(PermissionGrantRequest(Resource(u"/d", u""))
                                           .withSubject(Subject().withSubjectName(name))
                                           .withOperation(Operation::READ)
                                           .withAllowNonExistingUser(true));
    }

    static std::string invite(const Account& owner, const char16_t* name) {
        return owner.sharing
            ->createInvitation(InvitationCreateRequest(Resource(u"/d", u""))
                                   .withRecipient(name)
                                   .withAccessType(AccessType::READ_WRITE))
            .getInvitation()
            .getInvitationId();
    }

    static void share(const Account& ada, const Account& bob) {
        grant(ada, u"bob");
        grant(ada, u"later");
        invite(ada, u"");
        invite(ada, u"later@example.org");
        bob.sharing->updateInvitation(InvitationUpdateRequest()
                                          .withInvitationId(invite(ada, u"bob"))
                                          .withStatus(InvitationStatus::ACCEPTED));
    }

    Look look(const Store& store) const {
        const Account ada(store, tokens[0]);
        const Account bob(store, tokens[1]);
        Look all;
        for (const char16_t* path : {u"/", u"/d"}) {
            all.contents.push_back(ada.list(path));
            all.files.push_back(ada.files->listFolder(FolderListRequest({path, u""})).getFiles());
        }
        for (const char16_t* path : {u"/copy", u"/d/big", u"/d/holes", u"/moved", u"/d/f299"}) {
            all.contents.push_back(ada.get(path));
            all.versions.push_back(
                ada.versioning->listVersions(VersionListRequest({path, u""})).getVersions());
        }
        all.contents.push_back(ada.get(u"/shared", u"team"));
        all.contents.push_back(bob.get(u"/d/f299", u"ada"));
        for (const Account* user : {&ada, &bob}) {
            all.invitations.push_back(user->sharing->listInvitations({}).getInvitations());
        }
        const Resource shared(u"/d", u"");
        all.permissions = ada.sharing->listPermissions(shared).getPermissions();
        all.policy =
            ada.configuration->getResourcePolicy(ResourcePolicyGetRequest().withResource(shared))
                .getPolicy();
        for (const User& user : store.listUsers()) {
            all.profiles.push_back(user.name + u'/' + user.emailAddress + u'/' + user.firstName);
            all.quotas.push_back(user.quota);
        }
        return all;
    }

    std::string newTarget(bool onServer = isOnServer()) {
        return onServer ? newSchema() : "sqlite://" + folder.file(std::to_string(++targets));
    }

    /// Interrupts a migration after so many reports of a step.
    void interrupt(const std::string& to, Step step, unsigned reports = 1) const {
        EXPECT_THROW(Store::migrate(from, to,
                                    [&](const MigrationProgress& progress) {
                                        if (progress.step == step && --reports == 0) {
                                            throw Interrupted();
                                        }
                                    }),
                     Interrupted);
    }

    static void expectRefused(const std::string& source, const std::string& target,
                              StoreErrorCode code, const std::string& words) {
        const auto error = storeErrorOf([&] { Store::migrate(source, target); });
        ASSERT_TRUE(error) << words;
        EXPECT_EQ(error->code(), code) << error->what();
        EXPECT_NE(std::string(error->what()).find(words), std::string::npos) << error->what();
    }

    static void expectUnfinished(const std::string& target) {
        const auto error = storeErrorOf([&] { Store::open(target); });
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code(), StoreErrorCode::IN_USE) << error->what();
        expectRefused(target, "sqlite:/nowhere/at/all", StoreErrorCode::IN_USE, "has not ended");
    }

    TemporaryFolder folder;
    const std::string file = folder.file("from");
    const std::string from = "sqlite://" + file;
    unsigned targets = 0;
    std::vector<std::string> tokens;
    std::string location;
    std::string watermark;
    std::string session;
    Look seen;
};

TEST_F(MigrationTest, KeepsEverythingThatLastsOnTheWayThereAndBack) {
    const std::string before = bytesInFile(file);
    std::vector<std::string> urls{from};
    const std::vector<bool> hops =
        isOnServer() ? std::vector{true, true, false} : std::vector{false, false};
    std::vector<MigratedTable> first;
    for (const bool onServer : hops) {
        urls.push_back(newTarget(onServer));
        const auto tables = Store::migrate(urls[urls.size() - 2], urls.back());
        ASSERT_EQ(tables.size(), 12U);
        first = first.empty() ? tables : first;
        for (std::size_t i = 0; i < tables.size(); ++i) {
            EXPECT_EQ(seenOf(tables[i]), seenOf(first[i]));
            EXPECT_GT(tables[i].rows, 0U) << tables[i].name;
        }
    }
    EXPECT_TRUE(bytesInFile(file) == before) << "the source was written";
    for (std::size_t i = 1; i < urls.size(); ++i) {
        const auto store = Store::open(urls[i]);
        EXPECT_TRUE(look(*store) == seen) << urls[i];
        EXPECT_EQ(store->verify(), std::vector<std::string>());
        EXPECT_EQ(store->statistics().handles, 0U);
        store->sweep();
        const Account ada(*store, tokens[0]);
        EXPECT_EQ(
            codeOf([&] {
                ada.notification->listFileChanges(FileChangeListRequest().withWatermark(watermark));
            }),
            Code::RESOURCE_NOT_FOUND);
        EXPECT_EQ(codeOf([&] { ada.files->downloadFile(FileDownloadRequest(location)); }),
                  Code::RESOURCE_NOT_FOUND);
        const auto stranger = store->createClient();
        stranger->withSessionId(session);
        EXPECT_EQ(codeOf([&] {
                      stranger->createFileAccess()->listFolder(FolderListRequest({u"/", u""}));
                  }),
                  Code::INVALID_SESSION_ID);
        // Each kind of thing gets an id that nothing has.
        const Account later(*store, store->createUser({.name = u"later"}));
        store->createBucket(u"another", u"later");
        EXPECT_EQ(later.get(u"/d/f299", u"ada"), "299");
        later.put(u"/new", noise(600'000));
        ada.put(u"/d/big", "three", true);
        later.makeFolder(u"/d");
        grant(later, u"ada");
        invite(later, u"ada");
        EXPECT_EQ(later.get(u"/new"), noise(600'000));
        EXPECT_EQ(store->verify(), std::vector<std::string>());
    }
}

TEST_F(MigrationTest, GoesOnAfterItWasKilledAtAnyPoint) {
    const std::string to = newTarget();
    unsigned kills = 0;
    for (int status = 1; status != 0; ++kills) {
        ASSERT_LT(kills, 100U);
        const pid_t process = ::fork();
        if (process == 0) {
            unsigned reports = 0;
            try {
                Store::migrate(from, to, [&](const MigrationProgress&) {
                    if (reports++ == kills) {
                        ::_exit(9);
                    }
                });
                ::_exit(0);
            } catch (const std::exception& error) {
                std::cerr << "the migration failed: " << error.what() << '\n';
            }
            ::_exit(1);
        }
        ASSERT_EQ(::waitpid(process, &status, 0), process);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 1);
        if (status != 0) {
            expectUnfinished(to);
        }
    }
    // The copying was done after a few of these, and all reports of the rest came in one run.
    EXPECT_GT(kills, 12U);
    const auto store = Store::open(to);
    EXPECT_TRUE(look(*store) == seen);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(MigrationTest, CountsIdsOnFromTheHighestThatEverWas) {
    const std::string to = "sqlite://" + folder.file("to");
    RawDatabase(file).run("update sqlite_sequence set seq = 70000");
    if (isOnServer()) {
        const std::string between = newSchema();
        Store::migrate(from, between);
        Store::migrate(between, to);
    } else {
        Store::migrate(from, to);
    }
    const auto store = Store::open(to);
    Account(*store, tokens[0]).put(u"/new", "new");
    store->createUser({.name = u"new"});
    for (const char* table : {"users", "buckets", "nodes"}) {
        EXPECT_GT(
            RawDatabase(folder.file("to")).number(std::string("select max(id) from ") + table),
            70'000)
            << table;
    }
}

TEST_F(MigrationTest, RefusesWhatIsAStoreOrWasBegunFromAnother) {
    const std::string used = newTarget();
    Store::open(used)->createUser({.name = u"somebody"});
    expectRefused(from, used, StoreErrorCode::ALREADY_EXISTS, "there is a store already");
    EXPECT_EQ(Store::open(used)->listUsers().size(), 1U);
    expectRefused(from, from, StoreErrorCode::ALREADY_EXISTS, "there is a store already");
    expectRefused("sqlite:" + folder.file("none"), newTarget(), StoreErrorCode::NOT_FOUND,
                  "the source");
    expectRefused(from, "sqlite::memory:", StoreErrorCode::ILLEGAL_URL, "the target");
    std::ofstream(folder.file("text")) << "this is no store, but a text of some length";
    expectRefused(from, "sqlite:" + folder.file("text"), StoreErrorCode::NOT_A_STORE, "the target");

    const std::string to = newTarget();
    interrupt(to, Step::COPYING, 3);
    expectRefused(used, to, StoreErrorCode::ALREADY_EXISTS, "another store");
    expectUnfinished(to);
    // Another run takes the target over while this one is under way.
    const auto error = storeErrorOf([&] {
        Store::migrate(from, to, [&, once = true](const MigrationProgress&) mutable {
            if (std::exchange(once, false)) {
                interrupt(to, Step::COPYING);
            }
        });
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), StoreErrorCode::IN_USE) << error->what();
    Store::migrate(from, to);
    EXPECT_TRUE(look(*Store::open(to)) == seen);
}

TEST_F(MigrationTest, FindsDamageOfTheSourceAndChangesBetweenTwoRuns) {
    const struct {
        const char* sql;
        Step step;
        StoreErrorCode code;
        const char* words;
    } cases[] = {
        {"update buckets set seq = seq + 1", Step::COPYING, StoreErrorCode::ALREADY_EXISTS,
         "has changed"},
        // What no sequence counts is found by the comparison.
        {"update policies set public_access = 2", Step::COMPARING, StoreErrorCode::ALREADY_EXISTS,
         "has changed"},
        {"update chunks set data = zeroblob(length(data)) where id = 20", Step::COPYING,
         StoreErrorCode::DAMAGED, "the source is damaged"},
        {"update nodes set shared = 1 where name = 'copy'", Step::COPYING, StoreErrorCode::DAMAGED,
         "copy"},
        {"update extents set checksums = zeroblob(length(checksums)) where content in"
         " (select content from versions limit 1)",
         Step::COPYING, StoreErrorCode::DAMAGED, "bytes can be read"},
    };
    const std::string original = bytesInFile(file);
    for (const auto& [sql, step, code, words] : cases) {
        std::ofstream(file, std::ios::binary) << original;
        const std::string to = newTarget();
        interrupt(to, step);
        RawDatabase(file).run(sql);
        expectRefused(from, to, code, words);
        expectUnfinished(to);
    }
}

}  // namespace
}  // namespace storage::kvxstore
