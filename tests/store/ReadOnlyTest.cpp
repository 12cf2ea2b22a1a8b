#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <iostream>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

namespace fs = std::filesystem;

/// A store that a user may read but not write.
class ReadOnlyTest : public testing::Test {
protected:
    /// Runs the body as somebody whom a mode forbids something: not as root.
    template <class Body>
    void asOrdinaryUser(Body body) {
        fs::permissions(folder.file(""), fs::perms::all);
        const auto run = [&] {
            if (::geteuid() == 0 && ::setuid(65534) != 0) {
                ::_exit(1);
            }
            fs::create_directory(file(""));
            try {
                body();
            } catch (const std::exception& error) {
                ADD_FAILURE() << error.what();
            }
            protect("", 0755);
            const testing::TestResult& result =
                *testing::UnitTest::GetInstance()->current_test_info()->result();
            for (int i = 0; i < result.total_part_count(); ++i) {
                const testing::TestPartResult& part = result.GetTestPartResult(i);
                std::cerr << part.line_number() << ": " << part.message() << '\n';
            }
            ::_exit(HasFailure() ? 2 : 0);
        };
        EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
    }

    std::string file(const std::string& name) const { return folder.file("own/") + name; }
    std::string url(const std::string& name = "store.db") const { return "sqlite://" + file(name); }

    /// Makes a store with /d/f, of two versions, and a deleted file; returns the user's token.
    std::string makeStore(const std::string& name) const {
        const auto store = Store::open(url(name));
        std::string token = store->createUser({.name = u"main"});
        const Account user(*store, token);
        user.makeFolder(u"/d");
        user.put(u"/d/f", std::string(600'000, '1'), true);
        user.put(u"/d/f", "two", true);
        user.put(u"/gone", "gone");
        user.remove(u"/gone");
        return token;
    }

    void protect(const std::string& name, unsigned mode) const {
        ASSERT_EQ(::chmod(file(name).c_str(), mode), 0);
    }

    static void expectReading(const Store& store, const std::string& token) {
        const Account user(store, token);
        EXPECT_EQ(user.list(u"/"), "d/");
        EXPECT_EQ(user.get(u"/d/f"), "two");
        const Resource resource(u"/d/f", u"");
        EXPECT_EQ(user.versioning->listVersions(VersionListRequest(resource)).getVersions().size(),
                  2U);
        EXPECT_EQ(user.files->readFile(FileReadRequest(resource).withVersionLabel(1))
                      .getResponseBody()
                      .size(),
                  600'000U);
        const std::string handle = user.openToRead(u"/d/f");
        EXPECT_EQ(user.read(handle, 0, 2), "tw");
        user.close(handle, FileHandleCloseOperation::COMMIT_CHANGES);
        const std::string location = user.offer(u"/d/f");
        EXPECT_EQ(user.files->downloadFile(FileDownloadRequest(location).withReadIntoString(true))
                      .getStringBody(),
                  "two");
        EXPECT_NE(user.notification->listFileChanges({}).getCurrentWatermark(), "");
        EXPECT_EQ(store.verify().size(), 0U);
        EXPECT_EQ(store.statistics().files, 1U);
        user.client->logout({});
        EXPECT_EQ(codeOf([&] { user.list(u"/"); }), Code::INVALID_SESSION_ID);
    }

    static void expectNoWriting(const Store& store, const std::string& token) {
        const Account user(store, token);
        const std::function<void()> calls[] = {
            [&] { user.put(u"/new", ""); },
            [&] { user.put(u"/d/f", "three"); },
            [&] { user.makeFolder(u"/new"); },
            [&] { user.removeFolder(u"/d", true); },
            [&] { user.move(u"/d", u"/e"); },
            [&] { OpenFile(user, u"/d/f"); },
            [&] { OpenFile(user, u"/new"); },
            [&] {
                user.sharing->createInvitation(InvitationCreateRequest({u"/d", u""}));
            },
        };
        for (const auto& call : calls) {
            EXPECT_EQ(causeOf(call).substr(0, 22), "the store is read-only");
        }
        const std::function<void()> administration[] = {
            [&] { store.createUser({.name = u"new"}); },
            [&] { store.createBucket(u"new", u"main"); },
            [&] { store.removeUser(u"main"); },
            [&] { store.sweep(); },
        };
        for (const auto& call : administration) {
            const auto error = storeErrorOf(call);
            EXPECT_TRUE(error && error->code() == StoreErrorCode::NOT_WRITABLE);
        }
        EXPECT_EQ(user.list(u"/"), "d/");
    }

    TemporaryFolder folder;
};

TEST_F(ReadOnlyTest, ServesAFileWithoutALogAndLeavesItAlone) {
    const std::pair<const char*, unsigned> cases[] = {{"file", 0444}, {"it's 100%?#", 0444}};
    asOrdinaryUser([&] {
        for (const auto& [name, mode] : cases) {
            const std::string token = makeStore(name);
            protect(name, mode);
            const auto before = fs::last_write_time(file(name));
            {
                const auto store = Store::open(url(name));
                expectReading(*store, token);
                expectNoWriting(*store, token);
                store->backup(file(name) + std::string(".backup"));
            }
            EXPECT_EQ(fs::last_write_time(file(name)), before);
            EXPECT_FALSE(fs::exists(file(name) + std::string("-wal")));
            expectReading(*Store::open(url(name) + ".backup"), token);
        }
        const std::string token = makeStore("store.db");
        protect("", 0555);
        const auto store = Store::open(url());
        expectReading(*store, token);
        expectNoWriting(*store, token);
    });
}

TEST_F(ReadOnlyTest, ReadsALogByItsIndexOrRefusesItByName) {
    asOrdinaryUser([&] {
        std::string token;
        {
            const auto store = Store::open(url());
            token = makeStore("store.db");  // While the other is open, its log stays.
            for (const char* suffix : {"", "-wal", "-shm"}) {
                for (const std::string& copy : {file("indexed"), file("bare")}) {
                    fs::copy_file(file("store.db") + suffix, copy + suffix);
                    ASSERT_EQ(::chmod((copy + suffix).c_str(), 0444), 0);
                }
            }
        }
        fs::remove(file("bare-shm"));
        protect("", 0555);
        const auto store = Store::open(url("indexed"));
        expectReading(*store, token);
        expectNoWriting(*store, token);
        const auto error = storeErrorOf([&] { Store::open(url("bare")); });
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code(), StoreErrorCode::NOT_WRITABLE);
        EXPECT_NE(std::string(error->what()).find(file("bare-wal")), std::string::npos)
            << error->what();
    });
}

TEST_F(ReadOnlyTest, FollowsTheFileWhenOthersChangeIt) {
    asOrdinaryUser([&] {
        const std::string token = makeStore("store.db");
        protect("store.db", 0444);
        const auto store = Store::open(url());
        const Account reader(*store, token);
        EXPECT_EQ(reader.get(u"/d/f"), "two");
        const std::string handle = reader.openToRead(u"/d/f");
        const auto readHandle = [&] { return reader.read(handle, 0, 9); };
        protect("store.db", 0644);
        auto writable = Store::open(url());
        {
            const Account writer(*writable, token);
            for (const char* content : {"three", "four"}) {
                writer.put(u"/d/f", content, true);
                EXPECT_EQ(reader.get(u"/d/f"), content);
                EXPECT_EQ(readHandle(), "two");
            }
            writable->createBucket(u"more", u"main");
            EXPECT_EQ(store->listBuckets().size(), 2U);
            writer.remove(u"/d/f");
            writable->sweep();
            EXPECT_EQ(codeOf([&] { readHandle(); }), Code::RESOURCE_NOT_FOUND);
        }
        const std::string renewed = writable->renewToken(u"main");
        EXPECT_EQ(codeOf([&] { reader.list(u"/"); }), Code::INVALID_SESSION_ID);
        EXPECT_EQ(Account(*store, renewed).list(u"/"), "d/");

        const std::string other = makeStore("other");
        writable.reset();
        RawDatabase(file("store.db")).run("pragma wal_checkpoint(truncate)");
        protect("other", 0444);
        fs::rename(file("other"), file("store.db"));
        expectReading(*store, other);
    });
}

TEST_F(ReadOnlyTest, AReadDuringWhichTheFileChangesIsDoneAgain) {
    asOrdinaryUser([&] {
        const std::string token = makeStore("store.db");
        protect("store.db", 0444);
        const auto made = fs::last_write_time(file("store.db"));
        std::atomic<int> changes = 0;
        const auto store = Store::open(
            url(), {.clock = [&] {
                // An operation asks for the time within its transaction.
                if (changes > 0) {
                    fs::last_write_time(file("store.db"), made + std::chrono::seconds(changes--));
                }
                return std::chrono::system_clock::now();
            }});
        const Account user(*store, token);
        changes = 3;
        EXPECT_EQ(user.get(u"/d/f"), "two");
        EXPECT_EQ(changes, 0);
        changes = 1'000;
        EXPECT_EQ(causeOf([&] { user.get(u"/d/f"); }),
                  "the store's file was changed while it was read: " + file("store.db"));
    });
}

}  // namespace
}  // namespace storage::kvxstore
