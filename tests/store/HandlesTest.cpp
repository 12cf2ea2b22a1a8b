#include <deque>
#include <random>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using enum FileCreateMode;
using enum FileHandleCloseOperation;

constexpr unsigned long chunk = 256UL << 10U;
constexpr unsigned long farEnd = std::numeric_limits<unsigned long>::max();

std::future<FileContentWriteResponse> startWrite(const OpenFile& file, const std::string& bytes) {
    return file.account.files->writeFileContentAsync(
        FileContentWriteRequest({u"", u""})
            .withFileHandleId(file.id)
            .withContent(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
}

std::future<FileContentReadResponse> startRead(const OpenFile& file) {
    return file.account.files->readFileContentAsync(
        FileContentReadRequest({u"", u""}).withFileHandleId(file.id).withLength(farEnd));
}

TEST_F(StoreTest, AHandleWritesToACopyAndItsCommitSharesTheRest) {
    std::mt19937 random(1);
    const auto below = [&](unsigned long bound) { return random() % bound; };
    const std::string base(2 * chunk + 70'000, 'b');
    account.put(u"/f", base);
    std::string model = base;
    const OpenFile file(account, u"/f");
    for (int i = 0; i < 150; ++i) {
        const unsigned long offset = below(5 * chunk);
        const std::string bytes(1 + below(i % 10 == 0 ? 2 * chunk : 3000), 'A' + i % 26);
        file.write(offset, bytes);
        model.resize(std::max(model.size(), offset + bytes.size()));
        model.replace(offset, bytes.size(), bytes);
        const unsigned long start = below(model.size() + chunk);
        const unsigned long length = below(chunk + 1000);
        ASSERT_TRUE(file.read(start, length) ==
                    (start < model.size() ? model.substr(start, length) : ""));
    }
    EXPECT_TRUE(account.get(u"/f") == base);
    file.close(COMMIT_CHANGES, true);
    EXPECT_EQ(codeOf([&] { file.read(0, 1); }), Code::RESOURCE_NOT_FOUND);
    EXPECT_TRUE(account.get(u"/f") == model);
    EXPECT_EQ(store->verify(), std::vector<std::string>());

    const OpenFile old(account, u"/f");
    const std::string pinned = account.openToRead(u"/f", u"", 1);
    account.put(u"/f", "without either");
    store->sweep();
    EXPECT_TRUE(old.read(0, farEnd) == model);
    const auto first = account.files->readFileContent(
        FileContentReadRequest({u"", u""}).withFileHandleId(pinned).withLength(farEnd));
    const auto body = first.getResponseBody();
    EXPECT_TRUE(std::string(body.begin(), body.end()) == base);
    EXPECT_EQ(first.getFileSize(), base.size());
    EXPECT_EQ(first.getContentType(), "text/plain");
    old.close(ABORT_CHANGES);
    store->sweep();
    EXPECT_EQ(store->verify(), std::vector<std::string>());
    EXPECT_EQ(account.get(u"/f"), "without either");
}

TEST_F(StoreTest, HandlesRefuseWithTheFittingCode) {
    const Account other(*store, store->createUser({.name = u"other"}));
    account.put(u"/f", "content");
    const OpenFile file(account, u"/f");
    OpenFile foreign(other, u"/own");
    foreign.id = file.id;
    const auto write = [](const OpenFile& to, unsigned long offset, std::string bytes = "x") {
        return [=, &to] { to.write(offset, bytes); };
    };
    struct {
        std::string what;
        std::function<void()> action;
        std::optional<Code> code;
    } const cases[] = {
        {"write: another user's", write(foreign, 0), Code::RESOURCE_NOT_FOUND},
        {"read: another user's", [&] { foreign.read(0, 1); }, Code::RESOURCE_NOT_FOUND},
        {"close: another user's", [&] { foreign.close(); }, Code::RESOURCE_NOT_FOUND},
        {"close: what?", [&] { file.close(FileHandleCloseOperation(5)); }, Code::UNKNOWN},
        {"write: end of numbers", write(file, farEnd), Code::FILE_TOO_LARGE},
        {"write: signed end", write(file, farEnd / 2), Code::FILE_TOO_LARGE},
        {"write: beyond the limit", write(file, 1UL << 40U), Code::FILE_TOO_LARGE},
        {"write: nothing there", write(file, 1UL << 39U, ""), std::nullopt},
        {"write: no bytes",
         [&] {
             account.files->writeFileContent(FileContentWriteRequest({u"", u""})
                                                 .withFileHandleId(file.id)
                                                 .withContent(nullptr, 5));
         },
         Code::UNKNOWN},
        {"read: end of numbers", [&] { EXPECT_EQ(file.read(farEnd, farEnd), ""); }, std::nullopt},
        {"read: beyond the end", [&] { EXPECT_EQ(file.read(5, farEnd), "nt"); }, std::nullopt},
    };
    for (const auto& [what, action, code] : cases) {
        EXPECT_EQ(codeOf(action), code) << what;
    }
    file.close();
    EXPECT_EQ(account.get(u"/f"), "content");
    EXPECT_EQ(account.put(u"/f", "").getVersionLabel(), 2) << "a commit of no change made one";
}

TEST_F(StoreTest, ACommitWithNothingWrittenSetsTheContentTypeOnly) {
    const std::string content(chunk + 5, 'c');
    account.put(u"/f", content);
    const auto commit = [&](const std::string& type) {
        OpenFile(account, u"/f", UPDATE, false, type).close(COMMIT_CHANGES, true);
        EXPECT_TRUE(account.get(u"/f") == content);
        return account.files->readFile(FileReadRequest({u"/f", u""})).getContentType();
    };
    EXPECT_EQ(commit(""), "text/plain");
    EXPECT_EQ(commit("text/plain"), "text/plain");
    EXPECT_EQ(store->statistics().versions, 1U);
    EXPECT_EQ(commit("image/png"), "image/png");
    EXPECT_EQ(store->statistics().versions, 2U);
    EXPECT_EQ(store->statistics().stored, content.size());
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, CommitsWhereTheFileIsByThen) {
    account.makeFolder(u"/d");
    account.put(u"/f", "old");
    const auto written = [&](const std::u16string& path, FileCreateMode mode) {
        OpenFile file(account, path, mode);
        file.write(0, "new");
        return file;
    };
    const OpenFile moved = written(u"/f", UPDATE);
    const OpenFile later = written(u"/f", UPDATE);
    account.move(u"/f", u"/d/g");
    moved.close();
    EXPECT_EQ(account.get(u"/d/g"), "new");
    account.remove(u"/d/g");
    EXPECT_EQ(codeOf([&] { later.close(); }), Code::RESOURCE_NOT_FOUND);
    EXPECT_EQ(codeOf([&] { later.write(0, "x"); }), Code::RESOURCE_NOT_FOUND);
    EXPECT_EQ(later.read(0, 3), "new");

    const OpenFile first = written(u"/d/h", CREATE_OR_UPDATE);
    const OpenFile second = written(u"/d/h", CREATE);
    const OpenFile third = written(u"/d/h", CREATE_OR_UPDATE);
    const OpenFile orphan = written(u"/d/i", CREATE);
    first.close();
    EXPECT_EQ(codeOf([&] { second.close(); }), Code::CONFLICT);
    third.close(COMMIT_CHANGES, true);
    EXPECT_EQ(account.put(u"/d/h", "").getVersionLabel(), 3);
    account.removeFolder(u"/d", true);
    EXPECT_EQ(codeOf([&] { orphan.close(); }), Code::PARENT_RESOURCE_NOT_FOUND);
    EXPECT_EQ(store->statistics().handles, 3U);
    account.client->logout(LogoutRequest());
    store->sweep();
    EXPECT_EQ(store->statistics().handles, 0U);
    EXPECT_EQ(store->statistics().stored, 0U);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, CallsThroughAHandleRunInTheOrderInWhichTheyWereMade) {
    const OpenFile file(account, u"/f");
    std::deque<std::string> contents;
    std::vector<std::future<FileContentReadResponse>> reads;
    for (int i = 0; i < 200; ++i) {
        const std::string& bytes = contents.emplace_back(100, static_cast<char>('A' + i % 50));
        startWrite(file, bytes);
        for (int n = i % 3; n > 0; --n) {
            reads.push_back(startRead(file));
        }
    }
    file.close();
    std::size_t read = 0;
    for (int i = 0; i < 200; ++i) {
        for (int n = i % 3; n > 0; --n) {
            const auto body = reads.at(read++).get().getResponseBody();
            ASSERT_EQ(std::string(body.begin(), body.end()), contents[i]) << i;
        }
    }
    EXPECT_EQ(account.get(u"/f"), contents.back());
}

TEST_F(StoreTest, NoCallOvertakesOnesThatWereHeldBack) {
    const OpenFile file(account, u"/f");
    const std::string first = "first";
    const std::string second = "other";
    for (int i = 0; i < 3000; ++i) {
        const auto read = startRead(file);
        const auto held = startWrite(file, first);
        // Comes at some moment about the one at which the read has ended and lets the first go.
        const auto moment =
            std::chrono::steady_clock::now() + std::chrono::nanoseconds(i * 37 % 6000);
        while (std::chrono::steady_clock::now() < moment) {
        }
        startWrite(file, second).wait();
        held.wait();
        ASSERT_EQ(file.read(0, farEnd), second) << i;
    }
}

TEST_F(StoreTest, CountsWhatHandlesHoldAndClosesLostOnes) {
    const auto onDisk = Store::open(folder.url());
    const Account user(*onDisk, onDisk->createUser({.name = u"u", .quota = 1000}));
    const RawDatabase database(folder.file("store.db"));
    const auto used = [&] {
        return user.configuration->getStorageUsage(StorageUsageGetRequest()).getStorageUsage();
    };
    user.put(u"/f", std::string(500, 'f'));
    const OpenFile file(user, u"/f", UPDATE, true);
    file.write(0, std::string(400, 'x'));
    EXPECT_EQ(used(), 900U);
    EXPECT_EQ(codeOf([&] { file.write(400, std::string(101, 'x')); }), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(codeOf([&] { user.put(u"/g", std::string(101, 'x')); }), Code::QUOTA_EXCEEDED);
    file.close();
    EXPECT_EQ(used(), 400U);

    const OpenFile holes(user, u"/holes");
    holes.write(4 * chunk, "x");
    EXPECT_EQ(codeOf([&] { holes.close(); }), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(onDisk->verify(), std::vector<std::string>());
    onDisk->sweep();
    EXPECT_EQ(onDisk->statistics().handles, 1U) << "a program must not close its own";
    database.run("update handles set instance = 1; insert into instances values(1, 0)");
    onDisk->sweep();
    EXPECT_EQ(codeOf([&] { holes.read(0, 1); }), Code::RESOURCE_NOT_FOUND);
    EXPECT_EQ(used(), 400U);
    EXPECT_EQ(onDisk->verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace storage::kvxstore
