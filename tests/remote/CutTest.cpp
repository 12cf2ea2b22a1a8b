#include <sstream>

#include "OnceCalls.h"

namespace storage::kvxremote {
namespace {

using namespace std::chrono_literals;

std::string pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 31 + i / 251);
    }
    return bytes;
}

std::string contentOf(const std::vector<char>& bytes) { return {bytes.begin(), bytes.end()}; }

/// A connection may break anywhere; a call has one effect, and its answer is that of this effect.
class CutTest : public RemoteTest {
protected:
    std::string get(const RemoteUser& user, const std::u16string& path) {
        return contentOf(
            user.files->readFile(FileReadRequest(Resource(path, u""))).getResponseBody());
    }

    std::size_t versionsOf(const RemoteUser& user, const std::u16string& path) {
        return user.versioning->listVersions(VersionListRequest(Resource(path, u"")))
            .getVersions()
            .size();
    }
};

TEST_F(CutTest, AnUploadThatIsCutIsRepeatedAndStoredOnce) {
    const RemoteUser user(url(), token);
    constexpr int parts = 20;
    for (int part = 0; part <= parts; ++part) {
        const std::u16string path = u"/f" + std::u16string(1, char16_t(u'a' + part));
        const std::string content = pattern(700'000 + part);
        const unsigned before = proxy.cuts();
        proxy.cutAfter(static_cast<std::int64_t>(content.size()) * part / parts + 1, Proxy::never);
        FileCreateRequest request = createRequest(path, content);
        const FileWriteResponse response =
            user.files->createFile(request.withCreateNewVersion(true));
        EXPECT_EQ(proxy.cuts(), before + 1);
        EXPECT_EQ(response.getFileSummary().getSize(), content.size());
        EXPECT_EQ(versionsOf(user, path), 1U) << part;
        EXPECT_TRUE(get(user, path) == content) << part;
    }
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(CutTest, ADownloadGivesEachByteOnce) {
    const RemoteUser user(url(), token);
    const std::string content = pattern(1'500'000);
    user.files->createFile(createRequest(u"/f", content));
    const std::string location =
        user.files->createFileDownload(FileDownloadCreateRequest(Resource(u"/f", u"")))
            .getLocation();
    for (int part = 0; part < 20; ++part) {
        std::stringbuf got;
        FileDownloadRequest request(location);
        request.withStreamFactory([&] { return std::make_unique<std::iostream>(&got); });
        const unsigned before = proxy.cuts();
        proxy.cutAfter(Proxy::never, static_cast<std::int64_t>(content.size()) * part / 20 + 1);
        user.files->downloadFile(std::move(request));
        EXPECT_EQ(proxy.cuts(), before + 1);
        EXPECT_TRUE(got.str() == content) << part;

        proxy.cutAfter(Proxy::never, static_cast<std::int64_t>(content.size()) * part / 20 + 1);
        EXPECT_TRUE(get(user, u"/f") == content) << part;
    }
}

TEST_F(CutTest, ABlackHoleEndsInTimeAndTheNextCallWorks) {
    const RemoteUser user(url("?timeout=1&retries=1"), token);
    user.files->createFile(createRequest(u"/f", "content"));
    proxy.hold(true);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(codeOf([&] { get(user, u"/f"); }), Code::BAD_NETWORK);
    EXPECT_EQ(codeOf([&] { user.files->createFile(createRequest(u"/f", "lost")); }),
              Code::BAD_NETWORK);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
    proxy.hold(false);
    user.files->createFile(createRequest(u"/g", "content"));
    EXPECT_EQ(get(user, u"/g"), "content");
}

TEST_F(CutTest, SlowIsNoFailure) {
    const RemoteUser user(url("?timeout=1&retries=1"), token);
    const std::string content = pattern(4'000);
    user.files->createFile(createRequest(u"/f", content));
    proxy.slowDown(100, 50ms);  // In all longer than the time without progress.
    EXPECT_TRUE(get(user, u"/f") == content);
}

/// A server of its own, so that one call does not see what another did.
struct CutWorld {
    std::shared_ptr<kvxstore::Store> store = kvxstore::Store::open("sqlite::memory:");
    kvxserver::Server server{serverOptions(), [this] { return store->createClient(); }};
    Proxy proxy{server.port()};
    World world{"kvx+plain://127.0.0.1:" + std::to_string(proxy.port()),
                store->createUser({.name = u"ada"}), store->createUser({.name = u"bob"})};
};

TEST(CutAnswerTest, EveryCallThatChangesSomethingHasOneEffectAndItsAnswer) {
    for (const OnceCall& once : onceCalls) {
        const auto run = [&](std::int64_t cutAfter) {
            CutWorld cut;
            World& world = cut.world;
            if (once.prepare) {
                once.prepare(world);
            }
            cut.proxy.cutAfter(Proxy::never, cutAfter);
            SCOPED_TRACE(once.name);
            std::string answer = once.call(world);
            EXPECT_EQ(cut.proxy.cuts(), cutAfter == Proxy::never ? 0U : 1U) << once.name;
            return answer + '\n' + world.state();
        };
        const std::string expected = run(Proxy::never);
        for (const std::int64_t bytes : {1, 30, 90}) {
            EXPECT_EQ(run(bytes), expected) << once.name << " cut after " << bytes;
        }
    }
}

}  // namespace
}  // namespace storage::kvxremote
