#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <thread>

#include "OwnMounts.h"
#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t oneMebibyte = 1UL << 20U;

/// The bytes that files take on the disk.
std::size_t bytesOnDisk(const TemporaryFolder& folder,
                        std::initializer_list<const char*> names = {"store.db", "store.db-wal"}) {
    std::size_t bytes = 0;
    for (const char* name : names) {
        struct stat status {};
        bytes += ::stat(folder.file(name).c_str(), &status) == 0 ? status.st_blocks * 512UL : 0;
    }
    return bytes;
}

/// Stores and deletes files of 1 MiB.
void leaveUnusedRoom(const Account& account, int files) {
    for (int i = 0; i < files; ++i) {
        account.put(numbered(u"/gone", i), std::string(oneMebibyte, 'g'));
    }
    for (int i = 0; i < files; ++i) {
        account.remove(numbered(u"/gone", i));
    }
}

TEST(RoomTest, AnIdleStoreGivesRoomBack) {
    const TemporaryFolder folder;
    const auto store = Store::open(folder.url());
    const Account account(*store, store->createUser({.name = u"main"}));
    account.put(u"/kept", std::string(3 * oneMebibyte, 'k'));
    leaveUnusedRoom(account, 60);
    EXPECT_GT(bytesOnDisk(folder, {"store.db"}), 40 * oneMebibyte);
    account.put(u"/last", std::string(3 * oneMebibyte, 'l'));
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (bytesOnDisk(folder, {"store.db"}) > 18 * oneMebibyte &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_LE(bytesOnDisk(folder, {"store.db"}), 18 * oneMebibyte);
    EXPECT_EQ(account.get(u"/last"), std::string(3 * oneMebibyte, 'l'));
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST(RoomTest, SweepGivesAllUnusedRoomBackAndRebuildsAFormerFileForIt) {
    for (const bool former : {false, true}) {
        const TemporaryFolder folder;
        const std::string token = Store::open(folder.url())->createUser({.name = u"main"});
        if (former) {
            RawDatabase(folder.file("store.db")).run("pragma auto_vacuum = none; vacuum");
        }
        const auto store = Store::open(folder.url());
        const Account account(*store, token);
        account.put(u"/kept", std::string(3 * oneMebibyte, 'k'));
        leaveUnusedRoom(account, 30);
        const std::vector<RoomNeed> needs = store->rebuildNeeds();
        ASSERT_EQ(needs.empty(), !former);
        for (const RoomNeed& need : needs) {
            EXPECT_TRUE(std::filesystem::is_directory(need.folder));
            EXPECT_GT(need.needed, 3 * oneMebibyte);
            EXPECT_GT(need.available, need.needed);
        }
        store->sweep();
        EXPECT_LT(bytesOnDisk(folder, {"store.db"}), 6 * oneMebibyte) << former;
        EXPECT_TRUE(store->rebuildNeeds().empty());
        EXPECT_EQ(account.get(u"/kept"), std::string(3 * oneMebibyte, 'k'));
        EXPECT_EQ(store->verify(), std::vector<std::string>());
    }
}

TEST(RoomTest, OverwritingWithoutAPauseNeedsLittleRoom) {
    const TemporaryFolder folder;
    const auto store = Store::open(folder.url());
    const Account account(*store, store->createUser({.name = u"main"}));
    std::size_t most = 0;
    for (int i = 0; i < 150; ++i) {
        account.put(u"/f", std::string(oneMebibyte, static_cast<char>('a' + i % 26)));
        most = std::max(most, bytesOnDisk(folder));
    }
    EXPECT_LT(most, 68 * oneMebibyte);
}

TEST(RoomTest, ProgramsThatEndSoonCleanUpToo) {
    const TemporaryFolder folder;
    const std::string token = Store::open(folder.url())->createUser({.name = u"main"});
    for (int i = 0; i < 40; ++i) {
        Account(*Store::open(folder.url()), token)
            .put(u"/f", std::string(oneMebibyte, static_cast<char>('a' + i % 26)));
    }
    EXPECT_LT(bytesOnDisk(folder), 16 * oneMebibyte);
}

/// Ends the process with 0 when the action on a small disk, which gets the disk's folder, does not
/// throw.
[[noreturn]] void onSmallDisk(const std::string& folder, const std::string& size,
                              const std::function<void(const std::string&)>& action) {
    if (!enterOwnMounts() ||
        ::mount("tmpfs", folder.c_str(), "tmpfs", 0, ("size=" + size).c_str()) != 0) {
        ::_exit(cannotMount);
    }
    try {
        action(folder);
    } catch (const std::exception& error) {
        std::cerr << error.what() << std::endl;
        ::_exit(2);
    }
    ::_exit(0);
}

/// REQUIRES: the action is a statement that ends the process as onSmallDisk() does.
#define EXPECT_GOOD_ON_SMALL_DISK(action)                             \
    testing::GTEST_FLAG(death_test_style) = "threadsafe";             \
    bool mounted = true;                                              \
    const auto succeeded = [&](int status) {                          \
        mounted = !testing::ExitedWithCode(cannotMount)(status);      \
        return !mounted || testing::ExitedWithCode(0)(status);        \
    };                                                                \
    EXPECT_EXIT(action, succeeded, "");                               \
    if (!mounted) {                                                   \
        GTEST_SKIP() << "this system lets tests mount no small disk"; \
    }

void require(bool condition, const std::string& what) {
    if (!condition) {
        throw std::runtime_error("not so: " + what);
    }
}

/// Throws the cause when a call fails.
void attempt(const std::string& what, const std::function<void()>& call) {
    const std::string cause = causeOf(call);
    require(cause.empty(), what + ": " + cause);
}

void fill(const std::string& folder) {
    std::ofstream filler(folder + "/filler", std::ios::app);
    const std::string block(4096, 'f');
    while (filler << block << std::flush) {
    }
}

void requireHarmless(const std::string& folder) {
    const std::string url = "sqlite://" + folder + "/store.db";
    const auto store = Store::open(url);
    const Account account(*store, store->createUser({.name = u"main"}));
    account.put(u"/kept", "kept");
    std::vector<std::future<FileWriteResponse>> small;
    auto big =
        account.files->createFileAsync(createRequest({u"/big", u""}, std::string(40'000'000, 'b')));
    for (char16_t c = u'a'; c < u'k'; ++c) {
        small.push_back(account.files->createFileAsync(
            createRequest({std::u16string(u"/") + c, u""}, "small")));
    }
    require(causeOf([&] { big.get(); }) == "the disk is full", "the cause");
    for (auto& each : small) {
        each.get();
    }
    require(account.get(u"/kept") == "kept", "a file is kept");
    require(account.list(u"/") == "a b c d e f g h i j kept", "the list");
    require(store->verify().empty(), "the store is sound");
    fill(folder);
    const auto full = [](const std::optional<StoreError>& error) {
        return error && error->code() == StoreErrorCode::FULL;
    };
    require(full(storeErrorOf([&] { Store::open(url + ".other"); })), "no store can be made");
    require(full(storeErrorOf([&] {
                for (char16_t c = u'a';; ++c) {
                    store->createUser({.name = std::u16string(1, c)});
                }
            })),
            "administration is told");
}

TEST(RoomTest, AFullDiskIsToldAndHarmsNothing) {
    const TemporaryFolder folder;
    EXPECT_GOOD_ON_SMALL_DISK(onSmallDisk(folder.file(""), "24m", requireHarmless));
}

/// Stores files until the disk is full; returns how many it stored.
int putUntilFull(const Account& account, std::size_t size) {
    for (int i = 0;; ++i) {
        const std::string cause =
            causeOf([&] { account.put(numbered(u"/f", i), std::string(size, 'f')); });
        if (!cause.empty()) {
            require(cause == "the disk is full", cause);
            return i;
        }
    }
}

void requireAWayOut(const std::string& folder) {
    const auto store = Store::open("sqlite://" + folder + "/store.db");
    const std::string token = store->createUser({.name = u"main"});
    const Account account(*store, token);
    account.put(u"/kept", "kept");
    const int stored = putUntilFull(account, oneMebibyte);
    require(stored > 30, "30 files");
    fill(folder);
    // A new session, and then no more than deleting.
    const Account later(*store, token);
    const auto remove = [&](const std::u16string& name, int number) {
        attempt("delete " + std::to_string(number), [&] { later.remove(numbered(name, number)); });
    };
    const auto put = [&](const std::u16string& path, std::size_t size) {
        attempt("put", [&] { later.put(path, std::string(size, 'n')); });
    };
    for (int i = 0; i < stored; ++i) {
        remove(u"/f", i);
    }
    for (int i = 0; i < stored / 2; ++i) {
        put(numbered(u"/again", i), oneMebibyte);
    }
    for (int i = 0; i < stored / 2; ++i) {
        remove(u"/again", i);
    }
    // Needs its room twice: in the log, too.
    put(u"/large", stored * oneMebibyte / 3);
    require(later.get(u"/kept") == "kept" &&
                later.get(u"/large") == std::string(stored * oneMebibyte / 3, 'n') &&
                store->verify().empty(),
            "the store is sound");
}

TEST(RoomTest, AfterDeletingOnAFullDiskWritingWorksAgain) {
    const TemporaryFolder folder;
    EXPECT_GOOD_ON_SMALL_DISK(onSmallDisk(folder.file(""), "64m", requireAWayOut));
}

}  // namespace
}  // namespace storage::kvxstore
