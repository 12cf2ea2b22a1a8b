#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "Certificates.h"
#include "FakeTransport.h"
#include "Kvxd.h"
#include "OnceCalls.h"

// kvxd as a process: what only the program does, and what only the end of a process shows.

namespace storage::kvxremote {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

bool isSoak() { return std::getenv("KVXSTORE_SOAK") != nullptr; }

class ProgramTest : public ::testing::Test {
protected:
    std::string storeUrl() const { return "sqlite://" + (folder / "store"); }

    TemporaryFolder folder;
    std::shared_ptr<kvxstore::Store> store = kvxstore::Store::open(storeUrl());
};

/// What a call came to while its server was killed.
struct Killed {
    std::string state;
    std::string answer;
    bool isInDoubt = false;
};

class KillTest : public ProgramTest {
protected:
    std::unique_ptr<Kvxd> start() {
        return std::make_unique<Kvxd>(
            folder, std::vector<std::string>{"--store", storeUrl(), "--listen",
                                             "unix:" + (folder / "socket"), "--log", "warn"});
    }

    /// A world of its own in the store of all.
    std::unique_ptr<World> makeWorld(const OnceCall& once, const std::string& url) {
        const std::string digits = std::to_string(++worlds);
        const std::u16string number(digits.begin(), digits.end());
        auto world =
            std::make_unique<World>(url, store->createUser({.name = u"ada" + number}),
                                    store->createUser({.name = u"bob" + number}), u"bob" + number);
        if (once.prepare) {
            once.prepare(*world);
        }
        return world;
    }

    Killed killDuring(const OnceCall& once, World& world, const std::function<void()>& await) {
        Killed killed;
        std::thread caller([&] {
            try {
                killed.answer = once.call(world);
            } catch (const KVXClientException& exception) {
                killed.isInDoubt = exception.getErrorCode() == Code::BAD_NETWORK;
                killed.answer = "failed";
            }
        });
        await();
        kvxd->signal(SIGKILL);
        EXPECT_EQ(kvxd->wait(), 128 + SIGKILL);
        kvxd = start();
        proxy.hold(false);
        caller.join();
        killed.state = world.state();
        return killed;
    }

    const std::string socketUrl = "kvx+unix://" + (folder / "socket");
    int worlds = 0;
    std::unique_ptr<Kvxd> kvxd = start();
    Proxy proxy{folder / "socket"};
};

TEST_F(KillTest, aCallHasOneEffectOrNoneAndSaysWhichUnlessItIsInDoubt) {
    const int rounds = isSoak() ? 100 : 3;
    int done = 0;
    int undone = 0;
    for (const OnceCall& once : onceCalls) {
        SCOPED_TRACE(once.name);
        const auto undisturbed = makeWorld(once, socketUrl);
        const std::string before = undisturbed->state();
        const auto begin = Clock::now();
        const std::string answer = once.call(*undisturbed);
        const auto time = Clock::now() - begin;
        const std::string after = undisturbed->state();
        for (int round = 0; round < rounds; ++round) {
            const auto world = makeWorld(once, socketUrl);
            const Killed killed = killDuring(
                once, *world, [&] { std::this_thread::sleep_for(time * round / rounds); });
            if (killed.isInDoubt) {
                EXPECT_TRUE(killed.state == before || killed.state == after) << killed.state;
                undone += killed.state == before && before != after ? 1 : 0;
            } else if (killed.answer == "failed") {
                // Handles end with their server.
                EXPECT_EQ(once.name, std::string("closeFileHandle"));
                EXPECT_EQ(killed.state, before);
            } else {
                EXPECT_EQ(killed.answer, answer);
                EXPECT_EQ(killed.state, after);
            }
        }
        // It is done, and its answer goes with the server.
        const auto world = makeWorld(once, "kvx+plain://127.0.0.1:" + std::to_string(proxy.port()));
        const unsigned cuts = proxy.cuts();
        proxy.cutAfter(Proxy::never, 1);
        const Killed killed = killDuring(once, *world, [&] {
            while (proxy.cuts() == cuts) {
                std::this_thread::yield();
            }
            proxy.hold(true);
        });
        EXPECT_TRUE(killed.isInDoubt || killed.answer == answer) << killed.answer;
        EXPECT_EQ(killed.state, after);
        done += killed.isInDoubt ? 1 : 0;
    }
    // Else the moments were not those that matter.
    EXPECT_GT(done, 0);
    EXPECT_GT(undone, 0);
    kvxd.reset();
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(ProgramTest, letsCallsUnderWayEndForSoLongAndThenEnds) {
    for (const bool inTime : {true, false}) {
        const kvxtesting::ScriptedTransport transport = fakeTransport();
        kvxserver::Server behind(serverOptions(), [&] { return fakeClient(transport); });
        Kvxd kvxd(folder, {"--store", "kvx+plain://127.0.0.1:" + std::to_string(behind.port()),
                           "--plain", "--listen", "127.0.0.1:0", "--drain", inTime ? "20" : "1"});
        const RemoteUser user("kvx+plain://127.0.0.1:" + std::to_string(kvxd.port()), "token");
        transport.on<operations::CreateFile>().whenTold();
        std::optional<Code> code = Code::UNKNOWN;
        std::thread caller(
            [&] { code = codeOf([&] { user.files->createFile(createRequest(u"/f", "bytes")); }); });
        EXPECT_TRUE(transport.waitUntilWaiting(1));
        kvxd.signal(SIGTERM);
        EXPECT_TRUE(kvxd.tells("\"ending\""));
        if (inTime) {
            EXPECT_EQ(kvxd.wait(0s), -1);
            transport.release();
        }
        EXPECT_EQ(kvxd.wait(), 0);
        caller.join();
        EXPECT_EQ(code, inTime ? std::nullopt : std::optional(Code::BAD_NETWORK));
        std::filesystem::remove(folder / "log");
    }
}

TEST_F(ProgramTest, readsItsCertificateAgainWhenToldOrChanged) {
    const Authority first(folder, "first");
    const Authority second(folder, "second");
    const CertificateFiles inUse{folder / "cert", folder / "key"};
    const auto use = [&](const CertificateFiles& files) {
        for (const auto& [from, to] :
             {std::pair(files.key, inUse.key), {files.certificate, inUse.certificate}}) {
            std::filesystem::copy_file(from, to + ".new");
            std::filesystem::rename(to + ".new", to);
        }
    };
    const CertificateFiles old = first.issue("old", "IP:127.0.0.1");
    use(old);
    const Kvxd kvxd(folder, {"--store", storeUrl(), "--listen", "127.0.0.1:0", "--tls-cert",
                             inUse.certificate, "--tls-key", inUse.key});
    const auto trusts = [&](const Authority& authority) {
        const auto client = connect("kvx://127.0.0.1:" + std::to_string(kvxd.port()) +
                                    "?retries=1&ca=" + authority.certificate());
        return !codeOf([&] { client->ping(); });
    };
    EXPECT_TRUE(trusts(first) && !trusts(second));
    use(second.issue("new", "IP:127.0.0.1"));
    kvxd.signal(SIGHUP);
    EXPECT_TRUE(kvxd.tells("certificate read again"));
    EXPECT_TRUE(trusts(second) && !trusts(first));
    // A key that is not the certificate's: the old ones stay, and the log says so.
    std::filesystem::copy_file(old.key, inUse.key,
                               std::filesystem::copy_options::overwrite_existing);
    kvxd.signal(SIGHUP);
    EXPECT_TRUE(kvxd.tells("cannot use"));
    EXPECT_TRUE(trusts(second));
    // Nobody tells it.
    use(old);
    for (int i = 0; i < 200 && !trusts(first); ++i) {
        std::this_thread::sleep_for(100ms);
    }
    EXPECT_TRUE(trusts(first));
}

}  // namespace
}  // namespace storage::kvxremote
