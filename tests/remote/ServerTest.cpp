#include <atomic>
#include <condition_variable>
#include <future>
#include <map>
#include <thread>

#include "RawConnection.h"
#include "RemoteFixture.h"
#include "protocol/Percent.h"

// Requests that no client of ours sends: written by hand over plain sockets.

namespace storage::kvxremote {

namespace {

std::string callId(char digit) { return "KVX-Call: " + std::string(32, digit) + "\r\n"; }

class ServerTest : public ::testing::Test {
protected:
    void start(kvxserver::ServerOptions options = serverOptions()) {
        server = std::make_unique<kvxserver::Server>(
            options, [this] { return store->createClient(); },
            [this](const kvxserver::CallRecord& call) {
                const std::lock_guard<std::mutex> lock(mutex);
                log += std::string(call.operation) + " " + std::string(call.session) + " " +
                       std::string(call.path) + (call.repeated ? " repeated\n" : "\n");
            });
    }

    RawAnswer ask(const std::string& text) { return RawConnection(server->port()).ask(text); }

    /// Whether the metrics have the line soon: what ends is counted after the other side knows it.
    bool counts(const std::string& line) const {
        for (int i = 0; i < 100; ++i) {
            const std::string text =
                RawConnection(server->metricsPort()).ask(request("GET /metrics")).body;
            if (text.find('\n' + line + '\n') != std::string::npos) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return false;
    }

    /// The header of a new session.
    std::string logIn(const std::string& with) {
        const std::string body =
            ask(request("POST /v1/session", "", R"({"token":")" + with + "\"}")).body;
        const std::size_t at = body.find("\"sessionId\":\"") + 13;
        return "Authorization: Bearer " + body.substr(at, body.find('"', at) - at) + "\r\n";
    }

    std::string boot() {
        const std::string head = ask(request("GET /v1/ping")).head;
        const std::size_t at = head.find("KVX-Boot: ") + 10;
        return head.substr(at, head.find('\r', at) - at);
    }

    /// The id of a new handle for writing.
    std::string openHandle(const std::string& session, const std::string& path = "/f") {
        const std::string opened = ask(request("POST /v1/createReadWriteFileHandle", session,
                                               R"({"resource":{"path":")" + path + "\"}}"))
                                       .body;
        const std::size_t at = opened.find("\"fileHandleId\":\"") + 16;
        return opened.substr(at, opened.find('"', at) - at);
    }

    std::size_t versionsOf(const std::u16string& path) {
        auto client = store->createClient();
        client->withSessionId(client->login(LoginRequest().withToken(token)).getSessionId());
        return client->createVersioning()
            ->listVersions(VersionListRequest(Resource(path, u"")))
            .getVersions()
            .size();
    }

    const std::shared_ptr<kvxstore::Store> store = kvxstore::Store::open("sqlite::memory:");
    const std::string token = store->createUser({.name = u"main"});
    const std::string friendToken = store->createUser({.name = u"friend"});
    std::mutex mutex;
    std::string log;
    std::unique_ptr<kvxserver::Server> server;
};

TEST_F(ServerTest, refusesWhatBreaksALimitWithItsStatus) {
    kvxserver::ServerOptions options = serverOptions();
    options.bodySize = 1000;
    options.jsonSize = 500;
    options.headerSize = 8192;
    options.handlesOfSession = 1;
    options.metrics = "127.0.0.1:0";
    start(options);
    const std::string session = logIn(token);
    const struct {
        std::string text;
        int status;
        std::string header;
    } cases[] = {
        {request("PUT /v1/files/-/f", session, std::string(1000, 'x')), 200, "KVX-Boot: "},
        {request("PUT /v1/files/-/f", session, std::string(1001, 'x')), 413, "KVX-Error: 8\r\n"},
        {request("POST /v1/listFolder", session, std::string(501, ' ')), 413, ""},
        {request("GET /v1/ping", "X: " + std::string(9000, 'x') + "\r\n"), 431, ""},
        {"PUT /v1/files/-/f HTTP/1.1\r\nHost: a\r\n" + session + "\r\n", 411, ""},
        {"PUT /v1/files/-/f HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
         411, ""},
        {request("POST /v1/createFile", session, R"({"resource":{"path":"/f"}})"), 400, ""},
        {request("POST /v1/listFolder", session, "no JSON"), 400, ""},
        {request("GET /v1/nothing", session), 404, ""},
        {"NO HTTP\r\n\r\n", 400, ""},
        {request("GET /v1/folders/-/"), 403, "KVX-Error: 0\r\n"},
        {request("GET /v1/folders/-/", "Authorization: Bearer x\r\n"), 401, "KVX-Error: 10\r\n"},
        {request("GET /v1/folders/-/", "Authorization: Bearer " + std::string(5000, 'x') + "\r\n"),
         401, "KVX-Error: 10\r\n"},
        {request("GET /v1/files/-/none", session), 404, "KVX-Error: 3\r\n"},
        {request("POST /v1/createReadOnlyFileHandle", session, R"({"resource":{"path":"/f"}})"),
         200, ""},
        {request("POST /v1/createReadOnlyFileHandle", session, R"({"resource":{"path":"/f"}})"),
         429, "Retry-After: "},
    };
    for (const auto& example : cases) {
        const RawAnswer answer = ask(example.text);
        EXPECT_EQ(answer.status, example.status) << example.text.substr(0, 60);
        EXPECT_TRUE(answer.has(example.header)) << example.text.substr(0, 60) << answer.head;
    }
    // The rest of the chunked body is no head.
    EXPECT_TRUE(counts("kvxd_heads_refused_total 2"));
}

TEST_F(ServerTest, closesConnectionsThatAreSlowStalledIdleOrTooMany) {
    kvxserver::ServerOptions options = serverOptions();
    options.headTime = options.progressTime = options.idleTime = std::chrono::seconds(1);
    options.connectionsOfAddress = 3;
    options.metrics = "127.0.0.1:0";
    start(options);
    const std::string session = logIn(token);
    EXPECT_TRUE(counts("kvxd_connections 0"));  // The login's is gone.
    RawConnection slow(server->port());
    slow.write("GET /v1/p");
    RawConnection stalled(server->port());
    stalled.write(request("PUT /v1/files/-/cut", session + "Content-Length: 10\r\n", "12345"));
    RawConnection idle(server->port());
    EXPECT_EQ(idle.ask(request("GET /v1/ping")).status, 200);
    EXPECT_EQ(ask(request("GET /v1/ping")).status, 0);
    EXPECT_TRUE(slow.closes() && stalled.closes() && idle.closes());
    EXPECT_TRUE(counts("kvxd_connections_timed_out_total 3"));
    RawConnection trickle(server->port());
    trickle.write(request("PUT /v1/files/-/cut", session + "Content-Length: 1000\r\n", "1"));
    const auto began = std::chrono::steady_clock::now();
    std::thread sender([&] {
        for (int i = 0; i < 10; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
            trickle.write("x");
        }
    });
    EXPECT_TRUE(trickle.closes());
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(2000));
    sender.join();
    EXPECT_TRUE(counts("kvxd_connections_refused_total 1"));
    EXPECT_EQ(ask(request("GET /v1/files/-/cut", session)).status, 404);
}

TEST_F(ServerTest, givesACallTheRightsOfItsSessionAndLogsNoSecret) {
    start();
    const std::string mine = logIn(token);
    const std::string theirs = logIn(friendToken);
    EXPECT_EQ(ask(request("PUT /v1/files/-/mine", mine, "secret")).status, 200);
    EXPECT_EQ(ask(request("GET /v1/files/-/mine", mine)).body, "secret");
    EXPECT_GE(ask(request("GET /v1/files/main/mine", theirs)).status, 403);
    EXPECT_EQ(ask(request("GET /v1/files/-/mine", theirs)).status, 404);
    const std::string opened =
        ask(request("POST /v1/createReadOnlyFileHandle", mine, R"({"resource":{"path":"/mine"}})"))
            .body;
    const std::size_t at = opened.find("\"fileHandleId\":\"") + 16;
    const std::string handle = opened.substr(at, opened.find('"', at) - at);
    EXPECT_EQ(ask(request("GET /v1/handles/" + handle + "?length=6", mine)).body, "secret");
    EXPECT_GE(ask(request("GET /v1/handles/" + handle + "?length=6", theirs)).status, 401);
    const std::string pinned =
        ask(request("POST /v1/createFileDownload", mine, R"({"resource":{"path":"/mine"}})")).body;
    const std::size_t from = pinned.find("\"location\":\"") + 12;
    const std::string location = pinned.substr(from, pinned.find('"', from) - from);
    const std::string target = "GET /v1/downloads/" + percentEncode(location);
    EXPECT_EQ(ask(request(target, mine)).status, 200);
    EXPECT_EQ(ask(request("GET /v1/downloads/unknown", mine)).status, 404);
    EXPECT_EQ(ask(request("DELETE /v1/session", mine)).status, 200);
    EXPECT_EQ(ask(request("GET /v1/files/-/mine", mine)).status, 401);
    server.reset();
    EXPECT_NE(log.find("createFile"), std::string::npos);
    for (const std::string& secret :
         {token, mine.substr(22, 20), handle, location.substr(20, 40)}) {
        EXPECT_EQ(log.find(secret), std::string::npos);
    }
}

TEST_F(ServerTest, refusesASessionThatIsOverThoughItKnowsItsClient) {
    std::atomic<std::chrono::hours> later{std::chrono::hours(0)};
    const auto other = kvxstore::Store::open(
        "sqlite::memory:",
        {.clock = [&] { return std::chrono::system_clock::now() + later.load(); }});
    server =
        std::make_unique<kvxserver::Server>(serverOptions(), [&] { return other->createClient(); });
    const std::string session = logIn(other->createUser({.name = u"main"}));
    EXPECT_EQ(ask(request("GET /v1/folders/-/", session)).status, 200);
    later = std::chrono::hours(2);
    const RawAnswer answer = ask(request("GET /v1/folders/-/", session));
    EXPECT_EQ(answer.status, 401);
    EXPECT_TRUE(answer.has("KVX-Error: 11\r\n")) << answer.head;
    server.reset();
}

TEST_F(ServerTest, carriesARepeatedCallOutOnce) {
    start();
    const std::string session = logIn(token);
    const std::string repeat = "KVX-Age: 5\r\nKVX-Boot: " + boot() + "\r\n";
    // A first attempt that is cut in its body, and repeats.
    {
        RawConnection cut(server->port());
        cut.write(
            request("PUT /v1/files/-/f", session + callId('a') + "Content-Length: 9\r\n", "half"));
        EXPECT_EQ(
            ask(request("PUT /v1/files/-/f", session + callId('a') + repeat, "the whole")).status,
            200);
        EXPECT_TRUE(cut.closes());
    }
    const RawAnswer again =
        ask(request("PUT /v1/files/-/f", session + callId('a') + repeat, "the whole"));
    EXPECT_EQ(again.status, 200);
    EXPECT_EQ(versionsOf(u"/f"), 1U);
    EXPECT_EQ(ask(request("GET /v1/files/-/f", session)).body, "the whole");
    EXPECT_EQ(ask(request("DELETE /v1/files/-/f", session + callId('b'))).status, 200);
    EXPECT_EQ(ask(request("DELETE /v1/files/-/f", session + callId('b') + repeat)).status, 200);
    // Unknown, but every outcome of its age is kept; and one of another server.
    EXPECT_EQ(ask(request("PUT /v1/files/-/g", session + callId('c') + repeat, "g")).status, 200);
    const RawAnswer doubt =
        ask(request("PUT /v1/files/-/h",
                    session + callId('d') + "KVX-Boot: 0123456789abcdef\r\nKVX-Age: 5\r\n", "h"));
    EXPECT_EQ(doubt.status, 409);
    EXPECT_TRUE(doubt.has("KVX-In-Doubt: 1\r\n") && !doubt.has("KVX-Error"));
    EXPECT_EQ(ask(request("GET /v1/files/-/h", session)).status, 404);
    // Another user's call of the same id is another call.
    EXPECT_EQ(ask(request("PUT /v1/files/-/f", logIn(friendToken) + callId('a'), "mine")).status,
              200);
    server.reset();
    EXPECT_NE(log.find("repeated"), std::string::npos);
}

std::string order(int number) { return "KVX-Order: " + std::to_string(number) + "\r\n"; }

TEST_F(ServerTest, makesCallsOnAHandleInTheirOrder) {
    start();
    const std::string session = logIn(token);
    const std::string target = " /v1/handles/" + openHandle(session);
    RawConnection commit(server->port());
    commit.write(request("DELETE" + target, session + order(3)));
    RawConnection second(server->port());
    second.write(request("PUT" + target, session + order(2), "BB"));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(ask(request("GET /v1/files/-/f", session)).status, 404);
    EXPECT_EQ(ask(request("PUT" + target, session + order(1), "AAAA")).status, 200);
    EXPECT_EQ(second.read().status, 200);
    EXPECT_EQ(commit.read().status, 200);
    EXPECT_EQ(ask(request("GET /v1/files/-/f", session)).body, "BBAA");
    // A call whose handle stands in its JSON has its turns as well.
    const std::string handle = openHandle(session, "/g");
    const std::string json = R"({"resource":{"path":"/g"},"fileHandleId":")" + handle + "\"}";
    EXPECT_EQ(
        ask(request("POST /v1/writeFileContent",
                    session + order(1) + "KVX-Json-Size: " + std::to_string(json.size()) + "\r\n",
                    json + "CCC"))
            .status,
        200);
    EXPECT_EQ(ask(request("PUT /v1/handles/" + handle, session + order(2), "D")).status, 200);
    EXPECT_EQ(ask(request("DELETE /v1/handles/" + handle, session + order(3))).status, 200);
    EXPECT_EQ(ask(request("GET /v1/files/-/g", session)).body, "DCC");
}

TEST_F(ServerTest, aRepeatNeedsNoRoomThatThoseWhoWaitForItHave) {
    kvxserver::ServerOptions options = serverOptions();
    options.contentOfUser = 1000;
    options.metrics = "127.0.0.1:0";
    start(options);
    const std::string session = logIn(token);
    const std::string target = "PUT /v1/handles/" + openHandle(session);
    const std::string first = session + order(1) + callId('a');
    RawConnection cut(server->port());
    cut.write(request(target, first + "Content-Length: 500\r\n", "half"));
    EXPECT_TRUE(counts("kvxd_content_bytes 500"));
    RawConnection second(server->port());
    second.write(request(target, session + order(2), std::string(500, '2')));
    EXPECT_TRUE(counts("kvxd_content_bytes 1000"));
    RawConnection third(server->port());
    third.write(request(target, session + order(3), std::string(500, '3')));
    EXPECT_TRUE(counts("kvxd_calls_running 3"));
    EXPECT_EQ(ask(request(target, first + "KVX-Boot: " + boot() + "\r\nKVX-Age: 5\r\n",
                          std::string(500, '1')))
                  .status,
              200);
    EXPECT_EQ(second.read().status, 200);
    EXPECT_EQ(third.read().status, 200);
}

/// What ThreadSanitizer sees best.
TEST_F(ServerTest, stopsWhileConnectionsCome) {
    for (int round = 0; round < 20; ++round) {
        start();
        std::atomic<bool> ends{false};
        std::thread visitor([&, port = server->port()] {
            while (!ends) {
                try {
                    RawConnection(port).write("GET");
                } catch (const std::runtime_error&) {
                    // It has stopped.
                }
            }
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        server->stop();
        EXPECT_THROW(RawConnection(server->port()), std::runtime_error);
        ends = true;
        visitor.join();
    }
}

TEST_F(ServerTest, takesOptionsThatProtectOnly) {
    const struct {
        std::function<void(kvxserver::ServerOptions&)> change;
        std::string reason;
    } cases[] = {
        {[](auto& options) { options.plain = false; }, "certificate"},
        {[](auto& options) { options.listen = "0.0.0.0:0"; }, "only this machine"},
        {[](auto& options) { options.listen = "nowhere"; }, "ADDRESS:PORT"},
        {[](auto& options) { options.keyFile = "/key"; }, "needs its key"},
        {[](auto& options) { options.clientCaFile = "/ca"; }, "clients"},
    };
    for (const auto& example : cases) {
        kvxserver::ServerOptions options = serverOptions();
        example.change(options);
        try {
            start(options);
            ADD_FAILURE() << example.reason;
        } catch (const std::invalid_argument& error) {
            EXPECT_NE(std::string(error.what()).find(example.reason), std::string::npos)
                << error.what();
        }
    }
}

}  // namespace

}  // namespace storage::kvxremote
