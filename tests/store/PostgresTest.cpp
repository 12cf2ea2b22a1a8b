#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <future>
#include <thread>

#include "PostgresServer.h"
#include "Soak.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

/// Stores on a server, which other processes serve as well.
class PostgresTest : public StoreTest {
protected:
    void SetUp() override {
        if (!isOnServer()) {
            GTEST_SKIP() << "KVXSTORE_TEST_POSTGRES names no server";
        }
        other = Store::open(storeUrl);
    }

    /// Runs the work of each at the same time, and returns what the calls failed with.
    static std::vector<std::optional<Code>> together(
        const std::vector<std::function<void()>>& works) {
        std::atomic<std::size_t> ready = 0;
        std::vector<std::future<std::optional<Code>>> results;
        for (const auto& work : works) {
            results.push_back(std::async(std::launch::async, [&] {
                for (++ready; ready < works.size();) {
                    std::this_thread::yield();
                }
                return codeOf(work);
            }));
        }
        std::vector<std::optional<Code>> codes;
        for (auto& result : results) {
            codes.push_back(result.get());
        }
        return codes;
    }

    std::shared_ptr<Store> other;
};

/// Sixteen callers, each of which writes the versions of a file of its own through one of two
/// stores, and looks after each whether all before it are there.
class PostgresLoadTest : public PostgresTest {
protected:
    /// Writes while `disturb` runs, and checks that each call took effect once.
    void writeDuring(const std::string& subject, const std::function<unsigned()>& disturb) {
        std::atomic<bool> stop = false;
        std::atomic<unsigned> calls = 0;
        std::atomic<std::int64_t> longest = 0;
        std::vector<std::future<void>> work;
        for (unsigned caller = 0; caller < 16; ++caller) {
            work.push_back(std::async(std::launch::async, [&, caller] {
                const Account user(caller % 2 == 0 ? *store : *other, token);
                const std::u16string path = numbered(u"/f", caller);
                for (int i = 1; !stop; ++i) {
                    const auto start = std::chrono::steady_clock::now();
                    const int label = user.put(path, std::to_string(i), true).getVersionLabel();
                    const auto wait = (std::chrono::steady_clock::now() - start) / 1ms;
                    longest = std::max<std::int64_t>(longest, wait);
                    ++calls;
                    if (label != i) {
                        throw std::runtime_error("call " + std::to_string(i) + " made version " +
                                                 std::to_string(label));
                    }
                }
            }));
        }
        const unsigned disturbances = disturb();
        stop = true;
        for (auto& caller : work) {
            EXPECT_NO_THROW(caller.get());
        }
        longestWait = longest;
        EXPECT_EQ(store->statistics().versions, calls);
        EXPECT_EQ(store->verify(), std::vector<std::string>());
        report(subject) << disturbances << " under " << calls
                        << " calls, none failed, lost or doubled; longest wait " << longest
                        << " ms\n";
    }

    std::int64_t longestWait = 0;
};

TEST_F(PostgresLoadTest, NothingIsLostOrDoubledWhenConnectionsAreTerminated) {
    writeDuring("terminated connections", [] {
        unsigned terminated = 0;
        while (terminated < longOrShort(1'000U, 100U)) {
            terminated += static_cast<unsigned>(
                onServer("select pg_terminate_backend(pid) from pg_stat_activity"
                         " where application_name = 'kvxstore' order by random() limit 1")
                    .size());
            std::this_thread::sleep_for(30ms);
        }
        return terminated;
    });
    EXPECT_LT(longestWait, 5'000);
    EXPECT_GT(store->statistics().repeats + other->statistics().repeats, 0U);
}

TEST_F(PostgresLoadTest, NothingIsLostOrDoubledWhenTheServerIsKilled) {
    const char* const kill = std::getenv("KVXSTORE_TEST_POSTGRES_KILL");
    if (kill == nullptr) {
        GTEST_SKIP() << "KVXSTORE_TEST_POSTGRES_KILL names no command that kills the server and"
                        " starts it again, or its standby";
    }
    writeDuring("killed servers", [&] {
        const unsigned rounds =
            std::getenv("KVXSTORE_TEST_POSTGRES_STANDBY") != nullptr ? 1 : longOrShort(20U, 2U);
        for (unsigned round = 0; round < rounds; ++round) {
            std::this_thread::sleep_for(500ms);
            EXPECT_EQ(std::system(kill), 0);  // NOLINT(cert-env33-c): a test's own command.
        }
        std::this_thread::sleep_for(500ms);
        return rounds;
    });
}

// A commit that waits for a standby has taken effect already.
TEST_F(PostgresTest, ACommitWhoseAnswerWasLostCountsOnce) {
    const auto waiting = [] {
        return onServer("select pid from pg_stat_activity where wait_event = 'SyncRep'").size();
    };
    // What cleans up may be what waits, and not the call.
    unsigned calls = 0;
    while (store->statistics().settled == 0 && ++calls < 20) {
        onServer("alter system set synchronous_standby_names = 'none_of_that_name'");
        onServer("select pg_reload_conf()");
        auto label = std::async(std::launch::async, [&] {
            return account.put(u"/f", std::to_string(calls), true).getVersionLabel();
        });
        for (int i = 0; i < 1'000 && waiting() == 0; ++i) {
            std::this_thread::sleep_for(10ms);
        }
        const auto ended = onServer(
            "select pg_terminate_backend(pid) from pg_stat_activity where wait_event = 'SyncRep'");
        onServer("alter system reset synchronous_standby_names");
        onServer("select pg_reload_conf()");
        EXPECT_GE(ended.size(), 1U);
        EXPECT_EQ(label.get(), static_cast<int>(calls));
    }
    EXPECT_GE(store->statistics().settled, 1U);
    EXPECT_EQ(store->statistics().versions, calls);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(PostgresTest, CallsTakeFewRoundTrips) {
    const Account user(*store, token);
    user.makeFolder(u"/d");
    user.put(u"/d/f", "small");
    // What most calls take: some wait for new ids, and cleaning goes on beside them.
    const auto tripsOf = [&](unsigned calls, const auto& call) {
        std::map<unsigned long, unsigned> found;
        for (unsigned i = 0; i < calls; ++i) {
            const unsigned long start = store->statistics().roundTrips;
            const unsigned long before = store->statistics().roundTrips;
            call();
            ++found[store->statistics().roundTrips - before - (before - start)];
        }
        return std::ranges::max_element(found, {}, [](const auto& entry) { return entry.second; })
            ->first;
    };
    constexpr int together = 64;
    unsigned number = 0;
    const auto putSome = [&](int count) {
        std::vector<std::future<FileWriteResponse>> pending;
        {
            const auto held = holdWriters(storeUrl);
            while (count-- > 0) {
                const Resource file(numbered(u"/d/n", number++), u"");
                pending.push_back(user.files->createFileAsync(FileCreateRequest(file)));
            }
        }
        for (auto& answer : pending) {
            answer.get();
        }
    };
    const unsigned long get = tripsOf(100, [&] { user.get(u"/d/f"); });
    const unsigned long put = tripsOf(60, [&] { putSome(1); });
    const unsigned long batch = tripsOf(9, [&] { putSome(together); });
    report("round trips") << "get " << get << ", put " << put << ", " << together
                          << " puts in a batch " << batch << '\n';
    EXPECT_LE(get, 4U);
    EXPECT_LE(put, 4U);
    EXPECT_LE(batch, 32U);
}

TEST_F(PostgresTest, FilesMovedBetweenTwoBucketsOfAQuotaBothWaysBlockNobody) {
    store->createBucket(u"second", u"main");
    store->setQuota(u"main", 10'000);
    const auto moveToAndFro = [&](const std::shared_ptr<Store>& through, const std::u16string& path,
                                  const std::u16string& from, const std::u16string& to) {
        return [&, through, path, from, to] {
            const Account user(*through, token);
            user.put(path, std::string(100, 'x'), false, from);
            for (int i = 0; i < 40; ++i) {
                const Resource here(path, i % 2 == 0 ? from : to);
                const Resource there(path, i % 2 == 0 ? to : from);
                user.files->move(MoveOrCopyRequest(here, there));
            }
        };
    };
    for (const auto& code : together({moveToAndFro(store, u"/a", u"main", u"second"),
                                      moveToAndFro(other, u"/b", u"second", u"main"),
                                      moveToAndFro(other, u"/c", u"main", u"second")})) {
        EXPECT_EQ(code, std::nullopt);
    }
    EXPECT_EQ(store->statistics().used, 300U);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(PostgresTest, TwoBucketsTogetherGetNoMoreThanTheQuota) {
    store->createBucket(u"second", u"main");
    store->setQuota(u"main", 1'000);
    const Account here(*store, token);
    const Account there(*other, token);
    for (unsigned i = 0; i < 20; ++i) {
        const std::u16string path = numbered(u"/f", i);
        const auto codes =
            together({[&] { here.put(path, std::string(600, 'x')); },
                      [&] { there.put(path, std::string(600, 'x'), false, u"second"); }});
        EXPECT_NE(codes[0].has_value(), codes[1].has_value()) << i;
        EXPECT_EQ(codes[0].value_or(*codes[1]), Code::QUOTA_EXCEEDED) << i;
        if (!codes[0]) {
            here.remove(path);
        } else {
            there.files->deleteFile(FileDeleteRequest({path, u"second"}));
        }
    }
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(PostgresTest, AGrantToANewUserNeitherWaitsForeverNorIsLost) {
    const Account owner(*store, token);
    for (unsigned i = 0; i < 20; ++i) {
        const std::u16string name = numbered(u"user", i);
        std::string newToken;
        const auto codes = together({[&] {
                                         owner.sharing->grantPermission(
                                             PermissionGrantRequest({u"/", u""})
                                                 .withSubject(Subject().withSubjectName(name))
                                                 .withAllowNonExistingUser(true));
                                     },
                                     [&] { newToken = other->createUser({.name = name}); }});
        ASSERT_EQ(codes, (std::vector<std::optional<Code>>(2)));
        EXPECT_EQ(
            codeOf([&] {
                Account(*other, newToken).files->listFolder(FolderListRequest({u"/", u"main"}));
            }),
            std::nullopt)
            << i;
    }
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(PostgresTest, NoSessionOutlivesItsToken) {
    std::string current = token;
    for (unsigned i = 0; i < 30; ++i) {
        std::unique_ptr<Account> late;
        std::string next;
        const auto codes = together({[&] { late = std::make_unique<Account>(*store, current); },
                                     [&] { next = other->renewToken(u"main"); }});
        if (!codes[0]) {
            EXPECT_EQ(codeOf([&] { late->list(u"/"); }), Code::INVALID_SESSION_ID) << i;
        }
        current = next;
    }
}

TEST_F(PostgresTest, FoldersThatAnotherProgramMovedAreNotFoundInACache) {
    const Account here(*store, token);
    const Account there(*other, token);
    here.makeFolder(u"/a");
    for (int i = 0; i < 20; ++i) {  // As often as there are connections to remember it.
        there.put(u"/a/f", "old");
        EXPECT_EQ(there.get(u"/a/f"), "old");
    }
    here.move(u"/a", u"/b");
    here.makeFolder(u"/a");
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(codeOf([&] { there.get(u"/a/f"); }), Code::RESOURCE_NOT_FOUND);
    }
    there.put(u"/a/f", "new");
    EXPECT_EQ(here.get(u"/b/f"), "old");
}

TEST_F(PostgresTest, TheUrlIsShownWithoutItsSecrets) {
    const auto error = storeErrorOf([] {
        Store::open("postgresql://name:hidden@/none?host=/nowhere&password=secret",
                    {.lockPatience = 10ms});
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(std::string(error->what()).find("hidden"), std::string::npos) << error->what();
    EXPECT_EQ(std::string(error->what()).find("secret"), std::string::npos) << error->what();
    EXPECT_EQ(store->createClient()->getEndpoint().find('?'), std::string::npos);
}

// Each of these is forgotten, closed or counted twice where it is looked for in one statement and
// changed in another.
TEST_F(PostgresTest, CleaningLosesNothingThatAnotherProgramChanges) {
    store->createBucket(u"second", u"main");
    const Account here(*store, token);
    const Account there(*other, token);
    for (unsigned i = 0; i < longOrShort(500U, 25U); ++i) {
        const std::u16string path = numbered(u"/f", i);
        const std::string content = "content " + std::to_string(i);
        here.put(path, content);
        const std::string location = here.offer(path);
        const auto codes = together({
            // A content is let go of twice while it is judged.
            [&] { here.remove(path); },
            [&] { there.copy(path, path + u"copy"); },
            [&] { other->sweep(); },
            // The only handle of a program goes, and another comes.
            [&] {
                const OpenFile first(there, u"/open" + path.substr(1));
                first.write(0, content);
                first.close();
                const std::string second = there.openToRead(u"/open" + path.substr(1));
                EXPECT_EQ(there.read(second, 0, 100), content) << i;
                there.close(second, FileHandleCloseOperation::ABORT_CHANGES);
            },
            [&] { store->sweep(); },
        });
        for (const std::size_t work : {0, 2, 3, 4}) {
            ASSERT_EQ(codes[work], std::nullopt) << i << ' ' << work;
        }
        // The copy either was first or found nothing.
        const bool copied = !codes[1];
        EXPECT_EQ(codes[1], copied ? std::nullopt : std::optional(Code::RESOURCE_NOT_FOUND));
        EXPECT_EQ(codeOf([&] { EXPECT_EQ(here.get(path + u"copy"), content) << i; }), codes[1]);
    }
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(PostgresTest, AWriterPurgesTheTrashOfBucketsInWhichOthersWrite) {
    store->createBucket(u"second", u"main");
    store->setQuota(u"main", 10'000);
    const Account here(*store, token);
    const Account there(*other, token);
    for (unsigned i = 0; i < longOrShort(500U, 25U); ++i) {
        const std::u16string path = numbered(u"/f", i);
        there.put(path, std::string(6'000, 't'), false, u"second");
        there.files->deleteFile(FileDeleteRequest({path, u"second"}));
        // There is room only when the trash of the other bucket is purged.
        const auto codes =
            together({[&] { here.put(path, std::string(8'000, 'h')); },
                      [&] { there.put(path, std::string(1'000, 't'), false, u"second"); }});
        EXPECT_EQ(codes, (std::vector<std::optional<Code>>(2))) << i;
        here.remove(path);
        there.files->deleteFile(FileDeleteRequest({path, u"second"}));
    }
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(PostgresTest, ProgramsWhoseClocksAreApartCloseNothingOfEachOther) {
    const auto openAt = [&](std::chrono::minutes apart) {
        StoreOptions options;
        options.clock = [apart] { return std::chrono::system_clock::now() + apart; };
        return Store::open(storeUrl, options);
    };
    const auto late = openAt(-5min);
    const auto early = openAt(5min);
    const Account slow(*late, token);
    const Account fast(*early, token);
    slow.put(u"/f", "one");
    const OpenFile ofSlow(slow, u"/slow");
    const OpenFile ofFast(fast, u"/fast");
    ofSlow.write(0, "slow");
    ofFast.write(0, "fast");
    const std::string reading = slow.openToRead(u"/f");
    fast.put(u"/f", "two");
    const std::string location = fast.offer(u"/f");
    for (const auto& cleaning : {late, early, store}) {
        cleaning->sweep();
    }
    EXPECT_EQ(store->statistics().handles, 3U);
    EXPECT_EQ(slow.read(reading, 0, 100), "one");
    ofSlow.close();
    ofFast.close();
    EXPECT_EQ(fast.get(u"/slow") + slow.get(u"/fast"), "slowfast");
    // A download location lasts a quarter of an hour by any of these clocks.
    EXPECT_EQ(
        codeOf([&] {
            account.files->downloadFile(FileDownloadRequest(location).withReadIntoString(true));
        }),
        std::nullopt);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(PostgresTest, VerifyFindsWhatIsDamagedOnTheServer) {
    for (unsigned i = 0; i < 1'200; ++i) {  // More than are read at a time.
        account.files->createFileAsync(createRequest({numbered(u"/f", i), u""}, "content"));
    }
    account.put(u"/last", "content of the last");
    EXPECT_EQ(store->verify(), std::vector<std::string>());
    const std::string schema = storeUrl.substr(storeUrl.rfind("%3D") + 3);
    onServer("set search_path = " + schema +
             "; update chunks set data = '\\x00' where id = (select e.chunk from nodes n"
             " join versions v on v.node = n.id join extents e on e.content = v.content"
             " where n.name = 'last')");
    onServer("update " + schema + ".buckets set used = used + 1");
    const auto damage = store->verify();
    ASSERT_EQ(damage.size(), 2U);
    EXPECT_NE(damage[0].find("/last"), std::string::npos) << damage[0];
    EXPECT_NE(damage[1].find("counts its bytes in use wrong"), std::string::npos) << damage[1];
    EXPECT_EQ(causeOf([&] { account.get(u"/last"); }).find("the content of /last"), 0U);
}

/// A program that is stopped while it holds the lock of a bucket.
class PostgresFrozenWriterTest : public testing::Test {
protected:
    struct Shared {
        std::atomic<unsigned> written;
        std::atomic<bool> stop;
    };

    void SetUp() override {
        if (!isOnServer()) {
            GTEST_SKIP() << "KVXSTORE_TEST_POSTGRES names no server";
        }
        storeUrl = newSchema();
        token = Store::open(storeUrl)->createUser({.name = u"main"});
    }

    ~PostgresFrozenWriterTest() override {
        if (child != 0) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
        ::munmap(shared, sizeof(Shared));
    }

    /// Writes versions of a file, one after the other, and checks their labels.
    [[noreturn]] void writeOn() const {
        try {
            // As the guide says, but shorter.
            const auto store =
                Store::open(storeUrl + "%20-cidle_in_transaction_session_timeout%3D3000");
            const Account user(*store, token);
            while (!shared->stop) {
                const int label = user.put(u"/own", "own", true).getVersionLabel();
                if (std::cmp_not_equal(label, ++shared->written)) {
                    ::_exit(2);
                }
            }
        } catch (const std::exception& error) {
            std::cerr << "the frozen program failed: " << error.what() << '\n';
            ::_exit(1);
        }
        ::_exit(0);
    }

    void freeze() const {
        for (int i = 0; i < 5'000; ++i) {
            ::kill(child, SIGSTOP);
            const auto held = onServer(
                "select 1 from pg_stat_activity where application_name = 'kvxstore'"
                " and state = 'idle in transaction' and backend_xid is not null");
            if (!held.empty()) {
                return;
            }
            ::kill(child, SIGCONT);
            std::this_thread::sleep_for(1ms);
        }
        FAIL() << "it never holds a lock";
    }

    std::string storeUrl;
    std::string token;
    pid_t child = 0;
    Shared* const shared = static_cast<Shared*>(
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

TEST_F(PostgresFrozenWriterTest, BlocksOthersOnlyUntilTheServerEndsItAndWritesNothingTwice) {
    child = ::fork();
    if (child == 0) {
        writeOn();
    }
    const auto store = Store::open(storeUrl);
    const Account user(*store, token);
    while (shared->written < 10) {
        std::this_thread::sleep_for(1ms);
    }
    freeze();
    const auto start = std::chrono::steady_clock::now();
    user.put(u"/mine", "mine");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GT(waited, 200ms) << "nothing was locked";
    EXPECT_LT(waited, 15s);
    const unsigned before = shared->written;
    ::kill(child, SIGCONT);
    while (shared->written < before + 10 && ::waitpid(child, nullptr, WNOHANG) == 0) {
        std::this_thread::sleep_for(1ms);
    }
    shared->stop = true;
    int status = -1;
    ::waitpid(child, &status, 0);
    child = 0;
    EXPECT_EQ(status, 0);
    EXPECT_GE(shared->written, before + 10);
    EXPECT_EQ(store->statistics().versions, shared->written + 1);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace storage::kvxstore
