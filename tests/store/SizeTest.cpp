#include <malloc.h>
#include <sys/resource.h>

#include <atomic>
#include <fstream>
#include <random>

#include "Soak.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using namespace std::chrono_literals;

constexpr unsigned long mebibyte = 1UL << 20U;

constexpr long mostMebibytes = MOST_MEBIBYTES;

long peakKibibytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

/// The memory that an answer takes, with what the allocator adds to each text.
long sizeOf(const FileChangeListResponse& response) {
    std::size_t size = 0;
    const auto addText = [&](std::size_t bytes) {
        size += bytes > 15 ? (bytes + 25) / 16 * 16 : 0;
    };
    const auto add = [&](const std::vector<FileChangeSummary>& changes) {
        for (const FileChangeSummary& change : changes) {
            size += sizeof(change);
            addText(2 * change.getResource().getPath().size());
            addText(2 * change.getResource().getBucket().size());
            addText(change.getWatermark().size());
        }
    };
    add(response.getFileChanges());
    add(response.getFolderChanges());
    return static_cast<long>(size);
}

class SizeTest : public testing::Test {
protected:
    /// Runs the action, tells how long it took, and expects it below a bound with room for a busy
    /// machine.
    template <class Action>
    void expectQuick(const std::string& what, Action action, std::chrono::milliseconds bound = 1s) {
        const auto start = std::chrono::steady_clock::now();
        action();
        const auto time = std::chrono::steady_clock::now() - start;
        report("size") << what << ": " << time / 1us / 1000.0 << " ms\n";
        EXPECT_LT(time, bound) << what;
    }

    TemporaryFolder folder;
    std::shared_ptr<Store> store = Store::open(folder.url());
    Account account{*store, store->createUser({.name = u"main"})};
};

TEST_F(SizeTest, ALargeFileTakesBoundedMemory) {
    // A piece in every stretch of four times its size, so that the disk holds a quarter.
    const unsigned long size = longOrShort(10UL << 30U, 256 * mebibyte);
    constexpr unsigned long stretch = 4 * mebibyte;
    const auto piece = [](unsigned long offset) {
        std::mt19937_64 random(offset);
        std::string bytes(mebibyte, static_cast<char>(random()));
        for (std::size_t i = 0; i < bytes.size(); i += 4096) {
            bytes[i] = static_cast<char>(random());
        }
        return bytes;
    };
    const long before = peakKibibytes();
    const OpenFile file(account, u"/big");
    for (unsigned long offset = 0; offset < size; offset += stretch) {
        file.write(offset + stretch - mebibyte, piece(offset));
    }
    expectQuick("commit of " + std::to_string(size / mebibyte) + " MiB", [&] { file.close(); });
    expectQuick("copy of it", [&] { account.copy(u"/big", u"/copy"); });
    EXPECT_EQ(account.stat(u"/copy").getSize(), size);
    const OpenFile copy(account, u"/copy");
    const std::string hole(stretch - mebibyte, '\0');
    for (unsigned long offset = 0; offset < size; offset += stretch) {
        ASSERT_TRUE(copy.read(offset, stretch) == hole + piece(offset)) << offset;
    }
    const long taken = (peakKibibytes() - before) / 1024;
    report("size") << "peak memory on top: " << taken << " MiB\n";
    EXPECT_LT(taken, mostMebibytes);
    expectQuick("deletion of it", [&] {
        copy.close(FileHandleCloseOperation::ABORT_CHANGES);
        account.remove(u"/copy");
    });
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(SizeTest, ALargeFolderIsListedMovedAndDeleted) {
    const unsigned long entries = longOrShort(100'000UL, 5'000UL);
    account.makeFolder(u"/wide");
    std::atomic<unsigned long> made = 0;
    for (unsigned long i = 0; i < entries; ++i) {
        account.files->createFile(
            createRequest({numbered(u"/wide/", i), u""}, "content"),
            [&](FileWriteResponse, std::exception_ptr error) { made += error ? 0 : 1; });
    }
    account.client->waitForPendingCalls();
    ASSERT_EQ(made, entries);
    const std::string many = std::to_string(entries);
    const auto list = [&](const std::u16string& path) {
        return account.files->listFolder(FolderListRequest({path, u""})).getFiles().size();
    };
    expectQuick(
        "listing of " + many + " files", [&] { EXPECT_EQ(list(u"/wide"), entries); }, 10s);
    expectQuick("one more file in it", [&] { account.put(u"/wide/more", ""); });
    expectQuick("one of them by name", [&] { account.stat(u"/wide/4999"); });
    expectQuick("move of the folder", [&] { account.move(u"/wide", u"/back"); });
    expectQuick("move of it to a longer path", [&] { account.move(u"/back", u"/moved"); });
    EXPECT_EQ(list(u"/moved"), entries + 1);
    expectQuick("deletion of the folder", [&] { account.removeFolder(u"/moved", true); });
    expectQuick("a write beside its purge", [&] { account.put(u"/beside", ""); });
    expectQuick(
        "the purge", [&] { store->sweep(); }, 100s);
    EXPECT_EQ(store->statistics().stored, 0U);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(SizeTest, TheChangesOfALargeTreeAreListedInLittleMemory) {
    const unsigned long least = longOrShort(1'200'000UL, 100'000UL);
    account.makeFolder(u"/tree");
    for (char16_t name = u'a'; name < u'k'; ++name) {
        account.put(std::u16string(u"/tree/") + name, "content");
    }
    unsigned long entries = 11;
    unsigned long leftPlaces = 0;
    for (char16_t name = u'A'; entries < least; ++name) {
        const std::u16string copy = std::u16string(u"/") + name;
        expectQuick(
            "copy of " + std::to_string(entries) + " entries",
            [&] { account.copy(u"/tree", copy); }, 60s);
        account.move(copy, u"/tree" + copy);
        entries *= 2;
        ++leftPlaces;
    }
    FileChangeListResponse all;
    // The blocking form would copy the answer.
    const auto list = [&] {
        std::promise<FileChangeListResponse> promise;
        auto answer = promise.get_future();
        account.notification->listFileChanges(
            FileChangeListRequest().withWatermark(all.getCurrentWatermark()),
            promiseCompletingHandler(std::move(promise)));
        all = answer.get();
    };
    ::malloc_trim(0);
    ASSERT_TRUE(std::ofstream("/proc/self/clear_refs") << "5" << std::flush);
    const long before = peakKibibytes();
    expectQuick("list of its changes", list, 60s);
    const long taken = (peakKibibytes() - before) / 1024;
    const long answer = sizeOf(all) / static_cast<long>(mebibyte);
    report("size") << "peak memory: " << taken << " MiB, of which the answer: " << answer << '\n';
    EXPECT_LT(taken - answer, longOrShort(mostMebibytes * 2 / 3, mostMebibytes / 6));
    EXPECT_EQ(all.getFileChanges().size() + all.getFolderChanges().size(), entries + leftPlaces);

    account.makeFolder(u"/target");
    expectQuick("move of the tree", [&] { account.move(u"/tree", u"/target/tree"); });
    EXPECT_EQ(account.get(u"/target/tree/B/A/c"), "content");
    list();
    EXPECT_EQ(all.getFolderChanges().size(), 3U);
    EXPECT_EQ(all.getFileChanges().size(), 0U);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(SizeTest, ADeepTreeIsListedCopiedAndMoved) {
    std::u16string path;
    for (int depth = 0; depth < 100; ++depth) {
        account.makeFolder(path += u"/deep");
    }
    account.put(path + u"/f", "content");
    const std::u16string below = path.substr(5) + u"/f";
    expectQuick("a file 100 folders down",
                [&] { EXPECT_EQ(account.get(path + u"/f"), "content"); });
    expectQuick("copy of 100 folders", [&] { account.copy(u"/deep", u"/copy"); });
    expectQuick("move of 100 folders", [&] { account.move(u"/deep", u"/moved"); });
    EXPECT_EQ(account.get(u"/copy" + below), "content");
    EXPECT_EQ(account.get(u"/moved" + below), "content");
    EXPECT_EQ(codeOf([&] { account.move(u"/moved", u"/moved" + path.substr(5) + u"/in"); }),
              Code::CONFLICT);
    const auto tree = account.files->listMultiFolder(MultiFolderListRequest({u"/moved", u""}));
    EXPECT_EQ(tree.getFolders().size(), 100U);
    account.removeFolder(u"/moved", true);
    store->sweep();
    EXPECT_EQ(store->statistics().folders, 100U);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace storage::kvxstore
