#include <signal.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <thread>

#include "Kvxd.h"
#include "RemoteFixture.h"
#include "store/PostgresServer.h"

// Several kvxd that serve one store on a database server, and clients that know all of them.

namespace storage::kvxremote {
namespace {

using namespace std::chrono_literals;
using kvxstore::isOnServer;

class ManyServersTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!isOnServer()) {
            GTEST_SKIP() << "KVXSTORE_TEST_POSTGRES names no server";
        }
        storeUrl = kvxstore::newSchema();
        store = kvxstore::Store::open(storeUrl);
        token = store->createUser({.name = u"ada"});
        first = std::make_unique<Kvxd>(firstFolder, options("127.0.0.1:0"));
        second = std::make_unique<Kvxd>(secondFolder, options("127.0.0.1:0"));
        url = "kvx+plain://127.0.0.1:" + std::to_string(first->port()) +
              ",127.0.0.1:" + std::to_string(second->port());
    }

    std::vector<std::string> options(const std::string& listen) const {
        return {"--store", storeUrl, "--plain", "--listen", listen, "--log", "warn"};
    }

    int versionsOf(const RemoteUser& user, const std::u16string& path) const {
        return static_cast<int>(
            user.versioning->listVersions(VersionListRequest({path, u""})).getVersions().size());
    }

    TemporaryFolder firstFolder;
    TemporaryFolder secondFolder;
    std::string storeUrl;
    std::shared_ptr<kvxstore::Store> store;
    std::string token;
    std::unique_ptr<Kvxd> first;
    std::unique_ptr<Kvxd> second;
    std::string url;
};

TEST_F(ManyServersTest, CallsGoOnWhenAServerIsKilledAndNoneIsLostOrDoubled) {
    std::atomic<bool> stop = false;
    std::atomic<unsigned> calls = 0;
    std::atomic<unsigned> inDoubt = 0;
    std::atomic<std::int64_t> longest = 0;
    std::vector<std::future<void>> work;
    for (char16_t caller = u'a'; caller < u'i'; ++caller) {
        work.push_back(std::async(std::launch::async, [&, caller] {
            const RemoteUser user(url, token);
            const std::u16string path = std::u16string(u"/") + caller;
            for (int written = 0; !stop; ++calls) {
                FileCreateRequest request = createRequest(path, "content");
                request.withCreateNewVersion(true);
                const auto begin = std::chrono::steady_clock::now();
                try {
                    ++written;
                    const int label = user.files->createFile(std::move(request)).getVersionLabel();
                    if (label != written) {
                        throw std::runtime_error("lost or doubled");
                    }
                } catch (const KVXClientException& exception) {
                    EXPECT_EQ(exception.getErrorCode(), Code::BAD_NETWORK);
                    ++inDoubt;
                    const int there = versionsOf(user, path);
                    if (there != written && there != written - 1) {
                        throw std::runtime_error("more than the call in doubt is lost or doubled");
                    }
                    written = there;
                }
                const auto wait = (std::chrono::steady_clock::now() - begin) / 1ms;
                longest = std::max<std::int64_t>(longest, wait);
            }
        }));
    }
    const RemoteUser user(url, token);
    user.files->createFile(createRequest(u"/kept", "kept"));
    for (std::unique_ptr<Kvxd>* server : {&first, &second}) {
        std::this_thread::sleep_for(700ms);
        const std::string address = "127.0.0.1:" + std::to_string((*server)->port());
        (*server)->signal(SIGKILL);
        EXPECT_EQ((*server)->wait(), 128 + SIGKILL);
        EXPECT_EQ(codeOf([&] { user.files->readFile(Resource(u"/kept", u"")); }), std::nullopt);
        const unsigned before = calls;
        while (calls < before + 100) {
            std::this_thread::sleep_for(10ms);
        }
        TemporaryFolder& folder = server == &first ? firstFolder : secondFolder;
        std::filesystem::remove(folder / "port");
        *server = std::make_unique<Kvxd>(folder, options(address));
    }
    stop = true;
    for (auto& caller : work) {
        EXPECT_NO_THROW(caller.get());
    }
    EXPECT_LT(longest, 15'000);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
    std::cout << "[   result ] killed kvxd: 2 under " << calls << " calls, " << inDoubt
              << " in doubt, none lost or doubled; longest wait " << longest << " ms\n";
}

}  // namespace
}  // namespace storage::kvxremote
