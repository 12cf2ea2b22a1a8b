#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <future>
#include <thread>

#include "RawDatabase.h"
#include "Soak.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

constexpr unsigned processes = 2;
constexpr unsigned threads = 3;
constexpr unsigned mostRaces = 2000;

/// What the processes tell each other.
struct Shared {
    std::atomic<unsigned> ready;
    std::atomic<bool> stop;
    std::array<std::atomic<unsigned>, mostRaces> folderWins;
    std::array<std::atomic<unsigned>, mostRaces> sourceWins;
    std::array<std::atomic<unsigned>, mostRaces> targetWins;
    std::atomic<unsigned> checkedReads;
};

/// Content that shows whether it is whole and all of one writing.
std::string sealed(unsigned number) {
    std::string body(1'000 + number * 7919 % 600'000, static_cast<char>('a' + number % 26));
    return std::to_string(std::hash<std::string>()(body)) + ' ' + body;
}

bool isWhole(const std::string& content) {
    const std::size_t space = content.find(' ');
    return content.substr(0, space) ==
           std::to_string(std::hash<std::string>()(content.substr(space + 1)));
}

class ProcessesTest : public testing::Test {
protected:
    ProcessesTest() {
        const auto store = Store::open(folder.url());
        token = store->createUser({.name = u"main"});
        const Account account(*store, token);
        for (const char16_t* name : {u"/race", u"/source", u"/moved", u"/target", u"/own"}) {
            account.makeFolder(name);
        }
    }
    ~ProcessesTest() override { ::munmap(shared, sizeof(Shared)); }

    /// Runs the work in several processes, each with a store of its own and several threads.
    void runEverywhere(const std::function<void(const Account&, unsigned worker)>& work,
                       unsigned threadsEach = threads) const {
        std::array<pid_t, processes> children{};
        for (unsigned process = 0; process < processes; ++process) {
            children[process] = ::fork();
            if (children[process] == 0) {
                ::_exit(runHere(work, process * threadsEach, threadsEach) ? 0 : 1);
            }
        }
        for (const pid_t child : children) {
            int status = -1;
            EXPECT_EQ(::waitpid(child, &status, 0), child);
            EXPECT_EQ(status, 0);
        }
    }

    bool runHere(const std::function<void(const Account&, unsigned worker)>& work, unsigned first,
                 unsigned count) const {
        std::atomic<bool> good = true;
        const auto store = Store::open(folder.url());
        std::vector<std::thread> workers;
        for (unsigned i = 0; i < count; ++i) {
            workers.emplace_back([&, i] {
                try {
                    const Account account(*store, token);
                    for (++shared->ready; shared->ready < processes * count;) {
                        std::this_thread::yield();
                    }
                    work(account, first + i);
                } catch (const std::exception& error) {
                    std::cerr << "worker " << first + i << ": " << error.what() << '\n';
                    good = false;
                }
            });
        }
        for (std::thread& worker : workers) {
            worker.join();
        }
        return good;
    }

    TemporaryFolder folder;
    std::string token;
    Shared* shared = static_cast<Shared*>(
        ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

/// Counts a win where the action succeeds; a failure must be of the code that losers get.
void race(std::atomic<unsigned>& wins, Code loss, const std::function<void()>& action) {
    const auto code = codeOf(action);
    if (!code) {
        ++wins;
    } else if (*code != loss) {
        throw std::runtime_error("lost a race with code " + std::to_string(int(*code)));
    }
}

TEST_F(ProcessesTest, OfRacingCallsOneWinsAndNoUpdateIsLost) {
    const unsigned races = longOrShort(mostRaces, 100U);
    {
        const auto store = Store::open(folder.url());
        const Account account(*store, token);
        for (unsigned i = 0; i < races; ++i) {
            account.makeFolder(numbered(u"/source/", i));
        }
    }
    runEverywhere([&](const Account& account, unsigned worker) {
        for (unsigned i = 0; i < races; ++i) {
            const std::u16string own = numbered(numbered(u"/own/", worker) + u"-", i);
            account.put(own, std::to_string(worker));
            race(shared->folderWins[i], Code::CONFLICT,
                 [&] { account.makeFolder(numbered(u"/race/", i)); });
            race(shared->sourceWins[i], Code::RESOURCE_NOT_FOUND, [&] {
                account.move(numbered(u"/source/", i),
                             numbered(numbered(u"/moved/", i) + u"-", worker));
            });
            race(shared->targetWins[i], Code::CONFLICT,
                 [&] { account.move(own, numbered(u"/target/", i)); });
            account.put(u"/counter", "", true);
        }
    });
    const auto store = Store::open(folder.url());
    const Account account(*store, token);
    for (unsigned i = 0; i < races; ++i) {
        EXPECT_EQ(shared->folderWins[i], 1U) << i;
        EXPECT_EQ(shared->sourceWins[i], 1U) << i;
        EXPECT_EQ(shared->targetWins[i], 1U) << i;
    }
    const auto count = [&](const std::u16string& path) {
        const auto list = account.files->listFolder(FolderListRequest({path, u""}));
        return list.getFiles().size() + list.getFolders().size();
    };
    EXPECT_EQ(count(u"/race"), races);
    EXPECT_EQ(count(u"/moved"), races);
    EXPECT_EQ(count(u"/target"), races);
    EXPECT_EQ(count(u"/own"), races * (processes * threads - 1));
    const auto versions =
        account.versioning->listVersions(VersionListRequest({u"/counter", u""})).getVersions();
    EXPECT_EQ(versions.size(), races * processes * threads);
    EXPECT_EQ(versions.back().getVersionLabel(), static_cast<int>(versions.size()));
    EXPECT_EQ(store->verify(), std::vector<std::string>());
    report("races") << 3 * races << " races of " << processes * threads << " workers in "
                    << processes << " processes, one winner each\n";
}

TEST_F(ProcessesTest, NoReadIsTorn) {
    {
        const auto store = Store::open(folder.url());
        Account(*store, token).put(u"/f", sealed(0));
    }
    const auto end = std::chrono::steady_clock::now() + longOrShort(30s, 2s);
    runEverywhere([&](const Account& account, unsigned worker) {
        for (unsigned i = worker; std::chrono::steady_clock::now() < end; i += 17) {
            if (worker % threads == 0) {
                account.put(u"/f", sealed(i), i % 3 == 0);
                continue;
            }
            if (!isWhole(account.get(u"/f"))) {
                throw std::runtime_error("a read mixed two contents");
            }
            const auto handle = account.files->createReadOnlyFileHandle(
                FileHandleReadOnlyCreateRequest({u"/f", u""}));
            std::string content;
            while (content.size() < handle.getFileSize()) {
                content += account.read(handle.getFileHandleId(), content.size(), 50'000);
            }
            if (!isWhole(content)) {
                throw std::runtime_error("ranges of two contents were mixed");
            }
            account.close(handle.getFileHandleId(), FileHandleCloseOperation::ABORT_CHANGES);
            shared->checkedReads += 2;
        }
    });
    EXPECT_GT(shared->checkedReads, 10U);
    report("reads") << shared->checkedReads << " reads beside writers, none torn\n";
    EXPECT_EQ(Store::open(folder.url())->verify(), std::vector<std::string>());
}

TEST_F(ProcessesTest, NoWriterStarvesBesideAnother) {
    auto worst = std::chrono::nanoseconds(0);
    auto total = std::chrono::nanoseconds(0);
    const unsigned calls = longOrShort(2000U, 300U);
    const pid_t flatOut = ::fork();
    if (flatOut == 0) {
        const bool good = runHere(
            [&](const Account& account, unsigned) {
                const std::string content(1024, 'x');
                for (unsigned i = 0; !shared->stop; ++i) {
                    // The queue of calls is bounded, so that this keeps it full.
                    account.files->createFileAsync(
                        createRequest({numbered(u"/own/", i % 5000), u""}, content));
                }
                account.client->waitForPendingCalls();
            },
            0, 1);
        ::_exit(good ? 0 : 1);
    }
    {
        const auto store = Store::open(folder.url());
        const Account account(*store, token);
        for (++shared->ready; shared->ready < 2;) {
            std::this_thread::sleep_for(1ms);
        }
        std::this_thread::sleep_for(100ms);
        for (unsigned i = 0; i < calls; ++i) {
            const auto start = std::chrono::steady_clock::now();
            account.put(u"/f", std::to_string(i));
            const auto wait = std::chrono::steady_clock::now() - start;
            worst = std::max<std::chrono::nanoseconds>(worst, wait);
            total += wait;
        }
        shared->stop = true;
    }
    int status = -1;
    EXPECT_EQ(::waitpid(flatOut, &status, 0), flatOut);
    EXPECT_EQ(status, 0);
    EXPECT_LT(worst, 2s);
    report("starvation") << calls << " calls beside a process that writes flat out: worst wait "
                         << worst / 1ms << " ms, mean " << total / calls / 1us << " us\n";
}

TEST_F(ProcessesTest, WaitsForALongWriteOfAnotherProgramAsLongAsItMay) {
    const auto hasty = Store::open(folder.url(), {.lockPatience = 100ms});
    const auto patient = Store::open(folder.url());
    const RawDatabase other(folder.file("store.db"));
    other.run("begin immediate");
    const auto error = storeErrorOf([&] { hasty->createUser({.name = u"late"}); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), StoreErrorCode::IN_USE);
    auto waiting = std::async(std::launch::async, [&] { patient->createUser({.name = u"late"}); });
    EXPECT_EQ(waiting.wait_for(300ms), std::future_status::timeout);
    other.run("rollback");
    EXPECT_FALSE(storeErrorOf([&] { waiting.get(); }));
}

TEST_F(ProcessesTest, OpensReadsAndClosesBesideALongWriteOfAnotherProgram) {
    {
        const auto store = Store::open(folder.url());
        Account(*store, token).put(u"/f", "content");
    }
    const auto before = Store::open(folder.url());
    const Account account(*before, token);
    const RawDatabase other(folder.file("store.db"));
    other.run("begin immediate");
    const auto start = std::chrono::steady_clock::now();
    {
        const auto store = Store::open(folder.url());
        EXPECT_EQ(store->listUsers().size(), 1U);
        EXPECT_EQ(account.get(u"/f"), "content");
        std::this_thread::sleep_for(200ms);  // For the work that waits for an idle moment.
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    other.run("rollback");
}

}  // namespace
}  // namespace storage::kvxstore
