#include <unistd.h>

#include <fstream>
#include <thread>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A store that is open while something happens to its file.
class FileIdentityTest : public testing::Test {
protected:
    FileIdentityTest() {
        // Each checkpoint ends a log, so that the copy is two logs older than the store.
        put("one");
        fs::copy_file(file, older);
        put("two");
        put("three");
    }

    void put(const std::string& content) {
        account->put(u"/f", content);
        RawDatabase(file).run("pragma wal_checkpoint(truncate)");
    }

    std::string causeOfWrite() const {
        return causeOf([&] { account->put(u"/g", "lost"); });
    }

    void close() {
        account.reset();
        store.reset();
    }

    static std::string bytesOf(const std::string& path) {
        std::ifstream stream(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    TemporaryFolder folder;
    const std::string file = folder.file("store.db");
    const std::string older = folder.file("older.db");
    std::shared_ptr<Store> store = Store::open(folder.url());
    const std::string token = store->createUser({.name = u"main"});
    std::optional<Account> account{std::in_place, *store, token};
};

TEST_F(FileIdentityTest, AcknowledgesNothingUntilTheFileIsRightAgain) {
    const std::string other = folder.file("other.db");
    const struct {
        std::function<void()> harm;
        std::function<void()> mend;
        std::string cause;
    } cases[] = {
        {[&] { fs::rename(file, other); }, [&] { fs::rename(other, file); },
         "the store's file was deleted or moved away: "},
        {[&] { fs::create_hard_link(file, other); }, [&] { fs::remove(other); },
         "the store's file has a second name (a hard link)"},
        {[&] {
             fs::rename(file, other);
             fs::copy_file(older, file);
         },
         [&] { fs::rename(other, file); }, "another file was put in the place of the store's: "},
    };
    for (const auto& [harm, mend, cause] : cases) {
        harm();
        std::this_thread::sleep_for(2ms);  // A reader looks once a millisecond.
        const std::string written = causeOfWrite();
        EXPECT_EQ(written.substr(0, cause.size()), cause);
        EXPECT_EQ(causeOf([&] { account->get(u"/f"); }), written);
        const auto error = storeErrorOf([&] { store->createUser({.name = u"lost"}); });
        ASSERT_TRUE(error) << cause;
        EXPECT_EQ(error->code(), StoreErrorCode::FILE_CHANGED);
        mend();
        EXPECT_EQ(causeOfWrite(), "");
        EXPECT_EQ(account->get(u"/f"), "three");
    }
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(FileIdentityTest, AcknowledgesNothingThatWentIntoADeletedFile) {
    bool deletes = false;
    const auto other = Store::open(folder.url(), {.clock = [&] {
                                       // An operation asks for the time within its transaction.
                                       if (deletes) {
                                           fs::remove(file);
                                       }
                                       return std::chrono::system_clock::now();
                                   }});
    const Account user(*other, token);
    deletes = true;
    EXPECT_EQ(causeOf([&] { user.put(u"/g", "lost"); }),
              "the store's file was deleted or moved away: " + file);
}

TEST_F(FileIdentityTest, KeepsTheLogOutOfAFileWithAnotherContent) {
    // Not emptied first, or a look at it in between would find it cut.
    const auto overwrite = [&] {
        const std::string bytes = bytesOf(older);
        std::fstream(file, std::ios::in | std::ios::out | std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        fs::resize_file(file, bytes.size());
    };
    const auto reduce = [&] { fs::resize_file(file, fs::file_size(file) / 2); };
    const auto scribble = [&] { std::ofstream(file) << std::string(3'000'000, '!'); };
    const struct {
        std::function<void()> harm;
        bool noticedFirst;
        std::string cause;
    } cases[] = {
        {overwrite, true, "the store's file and its log (-wal) are of different times or stores: "},
        {overwrite, false, ""},
        {reduce, true, "the store's file was cut: "},
        {scribble, true, "the store's file was overwritten: "},
        {scribble, false, ""},
    };
    for (const auto& [harm, noticedFirst, cause] : cases) {
        const std::string sound = bytesOf(file);
        account->put(u"/f", "in the log");
        harm();
        std::this_thread::sleep_for(2ms);
        const std::string harmed = bytesOf(file);
        if (noticedFirst) {
            EXPECT_EQ(causeOfWrite(), cause + file);
            EXPECT_EQ(causeOf([&] { account->get(u"/f"); }), cause + file);
        }
        close();
        EXPECT_TRUE(bytesOf(file) == harmed) << cause;
        std::ofstream(file, std::ios::binary) << sound;
        store = Store::open(folder.url());
        account.emplace(*store, token);
        EXPECT_EQ(account->get(u"/f"), "in the log");
        EXPECT_EQ(store->verify(), std::vector<std::string>());
        put("three");
    }
}

TEST_F(FileIdentityTest, RefusesToOpenAFileWithTheLogOfAnother) {
    account->put(u"/f", "in the log");
    const std::string crashed = folder.file("crashed.db");
    fs::copy_file(older, crashed);
    fs::copy_file(file + "-wal", crashed + "-wal");
    const std::string before = bytesOf(crashed);
    const auto error = storeErrorOf([&] { Store::open(folder.url("crashed.db")); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), StoreErrorCode::FILE_CHANGED) << error->what();
    EXPECT_TRUE(bytesOf(crashed) == before);
    fs::remove(crashed + "-wal");
    fs::remove(crashed + "-shm");
    const auto restored = Store::open(folder.url("crashed.db"));
    EXPECT_EQ(Account(*restored, token).get(u"/f"), "one");
    EXPECT_EQ(restored->verify(), std::vector<std::string>());
}

TEST_F(FileIdentityTest, TwoProgramsWriteAndCheckpointWithoutAFalseAlarm) {
    // With checkpoints of both and of a third, and a file that grows and shrinks.
    const auto second = Store::open(folder.url());
    std::atomic<bool> stop = false;
    std::string causes;
    std::thread checkpoints([&] {
        while (!stop) {
            RawDatabase(file).run("pragma wal_checkpoint");
        }
    });
    std::thread writer([&] {
        const Account other(*second, token);
        for (int i = 0; i < 60; ++i) {
            causes += causeOf([&] { other.put(u"/second", std::string(300'000, 's')); });
            causes += causeOf([&] { other.get(u"/f"); });
        }
    });
    for (int i = 0; i < 60; ++i) {
        const std::string cause = causeOf([&] { account->put(u"/f", std::string(700'000, 'f')); });
        EXPECT_EQ(cause, "");
        if (i % 20 == 0) {
            RawDatabase(file).run("vacuum");
        }
    }
    writer.join();
    stop = true;
    checkpoints.join();
    EXPECT_EQ(causes, "");
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace storage::kvxstore
