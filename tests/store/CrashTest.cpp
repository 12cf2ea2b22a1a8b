#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <iostream>
#include <thread>

#include "CuttableDisk.h"
#include "Lane.h"
#include "RawDatabase.h"
#include "Soak.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

constexpr unsigned laneCount = 4;
using Acknowledged = std::array<std::atomic<unsigned>, laneCount>;

/// A store on disk, and the lanes that write to it from another life.
class CrashTest : public testing::Test {
protected:
    std::shared_ptr<Store> open(const std::string& url) const {
        // Later, so that the handles of the dead are lost by then.
        return Store::open(url, {.clock = [] {
                               return std::chrono::system_clock::now() + std::chrono::hours(1);
                           }});
    }

    void prepare() {
        const auto store = Store::open(folder.url());
        token = store->createUser({.name = u"main"});
        const Account account(*store, token);
        for (unsigned i = 0; i < laneCount; ++i) {
            lanes.emplace_back(i).makeFolders(account);
        }
    }

    /// Each lane, or each from the first one with a stride, goes on until its acknowledgement is
    /// answered with an end.
    template <class Acknowledge>
    void write(const Store& store, Acknowledge acknowledge, unsigned first = 0,
               unsigned stride = 1) const {
        std::vector<std::thread> threads;
        for (unsigned i = first; i < laneCount; i += stride) {
            threads.emplace_back([&, i, lane = lanes[i]]() mutable {
                const Account account(store, token);
                do {
                    Lane::perform(account, lane.next());
                } while (acknowledge(i));
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    /// Compares with the lanes as they are after that many steps more.
    void check(const std::string& url, std::vector<Lane>& followed,
               const std::array<unsigned, laneCount>& steps) const {
        const auto store = open(url);
        EXPECT_EQ(store->verify(), std::vector<std::string>());
        const Account account(*store, token);
        for (unsigned i = 0; i < laneCount; ++i) {
            EXPECT_EQ(followed[i].settle(account, steps[i]), "") << "lane " << i;
        }
        store->sweep();
        EXPECT_EQ(store->statistics().handles, 0U);
        EXPECT_EQ(store->verify(), std::vector<std::string>());
    }

    TemporaryFolder folder;
    std::string token;
    std::vector<Lane> lanes;
};

/// A process that works until it is killed.
class Child {
public:
    explicit Child(const std::function<void()>& work) : process_(::fork()) {
        if (process_ == 0) {
            try {
                work();
            } catch (const std::exception& error) {
                std::cerr << "the writer failed: " << error.what() << '\n';
            }
            ::_exit(1);
        }
        EXPECT_GT(process_, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    ~Child() {
        ::kill(process_, SIGKILL);
        int status = 0;
        EXPECT_EQ(::waitpid(process_, &status, 0), process_);
        EXPECT_TRUE(WIFSIGNALED(status)) << "it ended by itself";
    }

private:
    pid_t process_;
};

TEST_F(CrashTest, TwoKilledWritersLoseNothingTheyAcknowledged) {
    prepare();
    // Shared with the children, so that what they acknowledged outlives them.
    auto& acknowledged = *static_cast<Acknowledged*>(::mmap(
        nullptr, sizeof(Acknowledged), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    std::mt19937 random(seed());
    unsigned total = 0;
    const unsigned rounds = longOrShort(500U, 10U);
    const auto pause = [&random] {
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 100'000));
    };
    for (unsigned round = 0; round < rounds && !HasFailure(); ++round) {
        std::fill(acknowledged.begin(), acknowledged.end(), 0);
        const auto writeAs = [&](unsigned program) {
            const auto store = Store::open(folder.url());
            write(
                *store, [&](unsigned lane) { return ++acknowledged[lane] > 0; }, program, 2);
        };
        {
            const Child first([&] { writeAs(0); });
            {
                const Child second([&] { writeAs(1); });
                // Every fourth while they open the store.
                while (round % 4 != 0 && (acknowledged[0] == 0 || acknowledged[1] == 0)) {
                    std::this_thread::sleep_for(1ms);
                }
                pause();
            }
            pause();
        }
        std::array<unsigned, laneCount> steps{};
        std::copy(acknowledged.begin(), acknowledged.end(), steps.begin());
        for (const unsigned count : steps) {
            total += count;
        }
        check(folder.url(), lanes, steps);
    }
    EXPECT_GT(total, 10 * rounds);
    report("kills") << 2 * rounds << " kills, " << total << " acknowledged steps, none lost\n";
    ::munmap(&acknowledged, sizeof(Acknowledged));
}

TEST_F(CrashTest, AStoreKilledWhileItIsMadeIsMadeByTheNext) {
    std::mt19937 random(seed());
    for (unsigned round = 0; round < longOrShort(200U, 12U); ++round) {
        const std::string url = folder.url(std::to_string(round));
        {
            const Child child([&] {
                const auto made = Store::open(url);
                ::pause();
            });
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 12'000));
        }
        const auto store = Store::open(url);
        EXPECT_EQ(store->verify(), std::vector<std::string>());
        Account(*store, store->createUser({.name = u"main"})).put(u"/f", "content");
    }
}

TEST_F(CrashTest, APowerCutLosesNothingAcknowledged) {
    CuttableDisk disk(folder.file(""));
    prepare();
    std::mutex mutex;
    std::condition_variable changed;
    bool paused = true;
    bool stopped = false;
    std::array<unsigned, laneCount> acknowledged{};
    std::array<unsigned, laneCount> atCut{};
    const auto store = Store::open(folder.url());
    std::thread writer([&] {
        write(*store, [&](unsigned lane) {
            std::unique_lock lock(mutex);
            ++acknowledged[lane];
            changed.wait(lock, [&] { return !paused || stopped; });
            return !stopped;
        });
    });
    const auto set = [&](bool& flag, bool value) {
        const std::lock_guard lock(mutex);
        flag = value;
        changed.notify_all();
    };
    const std::shared_ptr<void> finish(nullptr, [&](void*) {
        set(stopped, true);
        writer.join();
    });
    std::mt19937 random(seed());
    const unsigned images = longOrShort(600U, 40U);
    unsigned made = 0;
    unsigned unsynced = 0;
    while (made < images && !HasFailure()) {
        disk.cutAfter(1 + random() % 300, [&] {
            const std::lock_guard lock(mutex);
            atCut = acknowledged;
            acknowledged = {};
            paused = true;
        });
        set(paused, false);
        if (random() % 2 == 0) {
            RawDatabase(folder.file("store.db")).run("pragma wal_checkpoint");
        }
        const auto files = disk.awaitCut(30s);
        ASSERT_TRUE(files) << "nothing was written";
        for (unsigned i = 0; i < laneCount; ++i) {
            for (; atCut[i] > 0; --atCut[i]) {
                lanes[i].next();
            }
        }
        for (const auto& [name, file] : *files) {
            unsynced += file.unsynced.size();
        }
        for (int i = 0; i < 4; ++i, ++made) {
            const TemporaryFolder after;
            writeAfterCut(*files, after.file(""), random);
            std::vector<Lane> followed = lanes;
            check(after.url(), followed, {});
        }
    }
    EXPECT_GT(unsynced, images / 4) << "the cuts hit nothing";
    report("power") << made << " images, " << unsynced * 4 << " unsynced writes in them\n";
}

TEST_F(CrashTest, AStoreCutWhileItIsMadeIsMadeByTheNext) {
    CuttableDisk disk(folder.file(""));
    std::mt19937 random(seed());
    bool reached = true;
    unsigned cut = 1;
    for (; reached; cut += longOrShort(1U, 5U)) {
        disk.cutAfter(cut, [] {});
        const std::string name = std::to_string(cut);
        Store::open(folder.url(name));
        const auto files = disk.awaitCut(0ms);
        reached = files.has_value();
        for (int i = 0; reached && i < 2; ++i) {
            const TemporaryFolder after;
            writeAfterCut(*files, after.file(""), random);
            const auto store = Store::open(after.url(name));
            EXPECT_EQ(store->verify(), std::vector<std::string>()) << "cut " << cut;
        }
    }
    EXPECT_GT(cut, 10U);
}

}  // namespace
}  // namespace storage::kvxstore
