#include <filesystem>
#include <future>
#include <thread>

#include "FakeTransport.h"
#include "Kvxd.h"
#include "RawConnection.h"
#include "RemoteFixture.h"

// What a server does with callers who want too much, and with a transport that does too little.

namespace storage::kvxremote {
namespace {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

/// A value that a caller of /metrics gets.
std::string metricIn(const std::string& text, const std::string& name) {
    const std::size_t at = text.find("\n" + name + " ");
    return at == std::string::npos
               ? "none"
               : text.substr(at + name.size() + 2, text.find('\n', at + 1) - at - name.size() - 2);
}

class ServerLimitsTest : public ::testing::Test {
protected:
    static kvxserver::ServerOptions options() {
        kvxserver::ServerOptions options = serverOptions();
        options.metrics = "127.0.0.1:0";
        return options;
    }

    void start(const kvxserver::ServerOptions& options) {
        server = std::make_unique<kvxserver::Server>(
            options, [transport = transport] { return fakeClient(transport); },
            [this](const kvxserver::CallRecord& call) {
                const std::lock_guard<std::mutex> lock(mutex);
                failed.emplace_back(call.code ? std::string(call.operation) : "");
            });
    }

    std::string url() const { return "kvx+plain://127.0.0.1:" + std::to_string(server->port()); }

    RawAnswer ask(const std::string& text) { return RawConnection(server->port()).ask(text); }

    std::string metric(const std::string& name) {
        return metricIn(RawConnection(server->metricsPort()).ask(request("GET /metrics")).body,
                        name);
    }

    /// Whether it comes to have the value within some seconds.
    bool shows(const std::string& name, const std::string& value) {
        for (int i = 0; i < 400 && metric(name) != value; ++i) {
            std::this_thread::sleep_for(20ms);
        }
        return metric(name) == value;
    }

    /// Calls of the operation wait until they are let go.
    template <class Operation>
    void hold() {
        transport.on<Operation>().whenTold();
    }

    template <class Operation>
    void letGo() {
        transport.on<Operation>().atOnce();
        transport.release();
    }

    /// Whether so many calls come to wait, and no more.
    bool keeps(std::size_t count) {
        return transport.waitUntilWaiting(count) && !transport.waitUntilWaiting(count + 1, 100ms);
    }

    /// The headers of a session, which the user's login has opened.
    std::string logIn(const std::string& user) {
        EXPECT_EQ(ask(request("POST /v1/session", "", R"({"token":")" + user + R"("})")).status,
                  200);
        return "Authorization: Bearer " + user + "\r\n";
    }

    kvxtesting::ScriptedTransport transport = fakeTransport();
    std::mutex mutex;
    std::vector<std::string> failed;
    std::unique_ptr<kvxserver::Server> server;
};

TEST_F(ServerLimitsTest, showsItsLimitsAndWhetherItIsWell) {
    kvxserver::ServerOptions limits = options();
    limits.connections = 101;
    limits.connectionsOfAddress = 102;
    limits.calls = 103;
    limits.callsOfUser = 104;
    limits.handlesOfSession = 105;
    limits.contentInHand = 106;
    limits.contentOfUser = 107;
    limits.headerSize = 1080;
    limits.jsonSize = 109;
    limits.bodySize = 110;
    start(limits);
    const char* const names[] = {
        "connections",   "connections_address", "calls_running", "calls_user", "handles_session",
        "content_bytes", "content_user_bytes",  "header_bytes",  "json_bytes", "body_bytes"};
    const std::string values[] = {"101", "102", "103",  "104", "105",
                                  "106", "107", "1080", "109", "110"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        EXPECT_EQ(metric("kvxd_" + std::string(names[i]) + "_limit"), values[i]) << names[i];
    }
    RawConnection health(server->metricsPort());
    EXPECT_EQ(health.ask(request("GET /healthz")).status, 200);
    EXPECT_EQ(health.ask(request("GET /v1/ping")).status, 404);
    EXPECT_EQ(metric("kvxd_handles"), "0");
    const std::string session = logIn("user");
    EXPECT_EQ(
        ask(request("POST /v1/createReadOnlyFileHandle", session, R"({"resource":{"path":"/f"}})"))
            .status,
        200);
    EXPECT_EQ(metric("kvxd_handles"), "1");
    EXPECT_TRUE(shows(R"(kvxd_calls_total{code="",operation="login",status="200"})", "1"));
}

TEST_F(ServerLimitsTest, carriesOutOnlySoManyLargeListingsAtOnce) {
    start(options());
    hold<operations::ListFolder>();
    std::vector<std::unique_ptr<RawConnection>> calls;
    const auto list = [&](const std::string& session, int count) {
        for (int i = 0; i < count; ++i) {
            calls.push_back(std::make_unique<RawConnection>(server->port()));
            calls.back()->write(request("GET /v1/folders/-/", session));
        }
    };
    list(logIn("ada"), 5);
    EXPECT_TRUE(keeps(2));
    list(logIn("bob"), 1);
    EXPECT_TRUE(keeps(3));
    list(logIn("bob"), 2);
    list(logIn("eve"), 3);
    EXPECT_TRUE(keeps(4));
    EXPECT_EQ(metric("kvxd_heavy_calls"), "4");
    // Small calls go on.
    EXPECT_EQ(ask(request("GET /v1/files/-/f", logIn("ada"))).status, 200);
    letGo<operations::ListFolder>();
    for (const auto& call : calls) {
        EXPECT_EQ(call->read().status, 200);
    }
    EXPECT_TRUE(shows("kvxd_heavy_calls", "0"));
}

TEST_F(ServerLimitsTest, refusesMoreCallsThanAUserOrAllMayMake) {
    kvxserver::ServerOptions limits = options();
    limits.calls = 3;
    limits.callsOfUser = 2;
    start(limits);
    const std::string ada = logIn("ada");
    const std::string bob = logIn("bob");
    EXPECT_TRUE(shows("kvxd_calls_running", "0"));
    hold<operations::DeleteFile>();
    std::vector<std::unique_ptr<RawConnection>> calls;
    const auto remove = [&](const std::string& session) {
        calls.push_back(std::make_unique<RawConnection>(server->port()));
        calls.back()->write(request("DELETE /v1/files/-/f", session));
        return keeps(calls.size());
    };
    EXPECT_TRUE(remove(ada) && remove(ada));
    const RawAnswer tooMany = ask(request("DELETE /v1/files/-/f", ada));
    EXPECT_EQ(tooMany.status, 429);
    EXPECT_TRUE(tooMany.has("Retry-After: 1\r\n") && !tooMany.has("KVX-Error"));
    EXPECT_TRUE(remove(bob));
    EXPECT_EQ(ask(request("DELETE /v1/files/-/f", bob)).status, 429);
    EXPECT_EQ(metric("kvxd_calls_running"), "3");
    letGo<operations::DeleteFile>();
    for (const auto& call : calls) {
        EXPECT_EQ(call->read().status, 200);
    }
    EXPECT_EQ(ask(request("DELETE /v1/files/-/f", ada)).status, 200);
    // Sessions that somebody makes up are all of one user, until one has made a call.
    EXPECT_TRUE(shows("kvxd_calls_running", "0"));
    calls.clear();
    const auto bearer = [](char name) {
        return "Authorization: Bearer " + std::string(8, name) + "\r\n";
    };
    EXPECT_EQ(ask(request("GET /v1/files/-/f", bearer('4'))).status, 200);
    EXPECT_EQ(ask(request("GET /v1/ping", bearer('1'))).status, 200);  // Which needs no session.
    hold<operations::DeleteFile>();
    EXPECT_TRUE(remove(bearer('1')) && remove(bearer('2')));
    EXPECT_EQ(ask(request("DELETE /v1/files/-/f", bearer('3'))).status, 429);
    EXPECT_TRUE(remove(bearer('4')));
    letGo<operations::DeleteFile>();
}

TEST_F(ServerLimitsTest, leavesItsPathToTheNextServer) {
    kvxserver::ServerOptions limits = options();
    const TemporaryFolder folder;
    const std::string path = folder / "socket";
    limits.listen = "unix:" + path;
    limits.drain = std::chrono::seconds(20);
    start(limits);
    hold<operations::Ping>();
    const auto client = connect("kvx+unix://" + path + "?retries=1");
    auto call = std::async(std::launch::async, [&] { client->ping(); });
    EXPECT_TRUE(keeps(1));
    auto stop = std::async(std::launch::async, [&] { server->stop(); });
    while (std::filesystem::exists(path)) {
        std::this_thread::sleep_for(10ms);
    }
    limits.metrics.clear();
    const kvxserver::Server next(limits, [transport = transport] { return fakeClient(transport); });
    letGo<operations::Ping>();
    stop.wait();
    server.reset();
    connect("kvx+unix://" + path)->ping();
    EXPECT_EQ(codeOf([&] { call.get(); }), std::nullopt);
}

TEST_F(ServerLimitsTest, answersForATransportThatDropsItsHandlers) {
    kvxserver::ServerOptions limits = options();
    limits.handlesOfSession = 1;
    start(limits);
    const std::string session = logIn("user");
#define DROP(Service, operation, Type, ...) transport.on<operations::Type>().drops();
    KVXTRANSPORT_OPERATIONS(DROP)
#undef DROP
    const std::string handle =
        request("POST /v1/createReadWriteFileHandle", session, R"({"resource":{"path":"/f"}})");
    for (const std::string& text :
         {request("GET /v1/ping"), request("POST /v1/session", "", R"({"token":"t"})"),
          request("PUT /v1/files/-/f", session, "content"), request("GET /v1/files/-/f", session),
          request("GET /v1/folders/-/", session), handle, handle,
          request("GET /v1/downloads/location"), request("DELETE /v1/session", session)}) {
        const RawAnswer answer = ask(text);
        EXPECT_EQ(answer.status, 500) << text;
        EXPECT_TRUE(answer.has("KVX-Error: 13\r\n")) << text << answer.head;
        EXPECT_TRUE(shows("kvxd_calls_running", "0"));
    }
    EXPECT_TRUE(shows("kvxd_backend_calls", "0"));
    EXPECT_TRUE(shows("kvxd_content_bytes", "0"));
}

TEST_F(ServerLimitsTest, letsCallsUnderWayEndOrCutsThemOff) {
    for (const bool inTime : {true, false}) {
        kvxserver::ServerOptions limits = options();
        limits.drain = std::chrono::seconds(inTime ? 20 : 1);
        start(limits);
        const std::string session = logIn("user");
        hold<operations::CreateFile>();
        RawConnection idle(server->port());
        EXPECT_EQ(idle.ask(request("GET /v1/ping")).status, 200);
        RawConnection call(server->port());
        call.write(request("PUT /v1/files/-/f", session, "content"));
        EXPECT_TRUE(keeps(1));
        const auto health = [&] {
            return RawConnection(server->metricsPort()).ask(request("GET /healthz")).status;
        };
        EXPECT_EQ(health(), 200);
        auto stop = std::async(std::launch::async, [&] { server->stop(); });
        EXPECT_TRUE(idle.closes());
        EXPECT_EQ(health(), 503);
        EXPECT_EQ(codeOf([&] { connect(url() + "?retries=1")->ping(); }), Code::BAD_NETWORK);
        if (inTime) {
            letGo<operations::CreateFile>();
        }
        const RawAnswer answer = call.read();
        EXPECT_EQ(answer.status, inTime ? 200 : 502);
        EXPECT_EQ(answer.has("KVX-Error: 2\r\n"), !inTime);
        stop.wait();
        letGo<operations::CreateFile>();
    }
}

TEST_F(ServerLimitsTest, delaysWhoGuessesTokensAndNobodyElse) {
    auto store = kvxstore::Store::open("sqlite::memory:");
    kvxserver::ServerOptions limits = options();
    limits.failedLogins = 2;
    server = std::make_unique<kvxserver::Server>(limits, [&] { return store->createClient(); });
    const auto guess = [&](std::uint32_t host) {
        const auto begin = SteadyClock::now();
        EXPECT_EQ(RawConnection(server->port(), host)
                      .ask(request("POST /v1/session", "", R"({"token":"guess"})"))
                      .status,
                  401);
        return SteadyClock::now() - begin;
    };
    EXPECT_LT(guess(1), 900ms);
    EXPECT_LT(guess(1), 900ms);
    EXPECT_GE(guess(1), 1s);
    EXPECT_LT(guess(2), 900ms);
    EXPECT_GE(guess(1), 2s);
    server.reset();
}

TEST_F(ServerLimitsTest, endsAnAnswerThatNobodyReads) {
    kvxserver::ServerOptions limits = options();
    limits.progressTime = 1s;
    transport = fakeTransport(32UL << 20U);
    start(limits);
    const RawConnection stopped(server->port());
    stopped.write(request("GET /v1/downloads/location"));
    EXPECT_TRUE(shows("kvxd_calls_running", "1"));
    EXPECT_EQ(ask(request("GET /v1/ping")).status, 200);
    EXPECT_TRUE(shows("kvxd_calls_running", "0"));
    const std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(std::count(failed.begin(), failed.end(), "downloadFile"), 1);
}

/// The store, where it takes one to see what happened.
TEST(ServerHandlesTest, abortsWhatIsUnusedForTooLong) {
    const auto store = kvxstore::Store::open("sqlite::memory:");
    const std::string token = store->createUser({.name = u"main"});
    kvxserver::ServerOptions limits = serverOptions();
    limits.handleIdle = 1s;
    limits.handlesOfSession = 2;
    kvxserver::Server server(limits, [&] { return store->createClient(); });
    const RemoteUser user("kvx+plain://127.0.0.1:" + std::to_string(server.port()), token);
    const auto open = [&](const Resource& resource) {
        return user.files->createReadWriteFileHandle(FileHandleReadWriteCreateRequest(resource))
            .getFileHandleId();
    };
    const Resource used(u"/used", u"");
    const Resource unused(u"/unused", u"");
    const std::string keptHandle = open(used);
    const std::string lostHandle = open(unused);
    const unsigned char byte = 'x';
    const auto write = [&](const Resource& resource, const std::string& handle) {
        FileContentWriteRequest request(resource);
        user.files->writeFileContent(request.withFileHandleId(handle).withContent(&byte, 1));
    };
    write(unused, lostHandle);
    for (int i = 0; i < 12; ++i) {
        write(used, keptHandle);
        std::this_thread::sleep_for(250ms);
    }
    const auto commit = [&](const Resource& resource, const std::string& handle) {
        FileHandleCloseRequest request(resource);
        user.files->closeFileHandle(request.withFileHandleId(handle).withOperation(
            FileHandleCloseOperation::COMMIT_CHANGES));
    };
    EXPECT_EQ(codeOf([&] { commit(unused, lostHandle); }), Code::RESOURCE_NOT_FOUND);
    EXPECT_EQ(codeOf([&] { commit(used, keptHandle); }), std::nullopt);
    EXPECT_EQ(user.files->listFolder(FolderListRequest(Resource(u"/", u""))).getFiles().size(), 1U);
}

TEST(ServerSessionTest, tellsThatASessionIsOver) {
    std::atomic<int> hours{0};
    kvxstore::StoreOptions storeOptions;
    storeOptions.clock = [&] { return std::chrono::system_clock::now() + hours.load() * 1h; };
    const auto store = kvxstore::Store::open("sqlite::memory:", storeOptions);
    const std::string token = store->createUser({.name = u"main"});
    kvxserver::Server server(serverOptions(), [&] { return store->createClient(); });
    const RemoteUser user("kvx+plain://127.0.0.1:" + std::to_string(server.port()), token);
    const auto create = [&] { user.files->createFile(createRequest(u"/f", "content")); };
    EXPECT_EQ(codeOf(create), std::nullopt);
    hours = 2;
    EXPECT_EQ(codeOf(create), Code::SESSION_EXPIRED);
    user.client->withSessionId(user.client->login(LoginRequest().withToken(token)).getSessionId());
    EXPECT_EQ(codeOf(create), std::nullopt);
    user.client->withSessionId("guess");
    EXPECT_EQ(codeOf(create), Code::INVALID_SESSION_ID);
    EXPECT_EQ(codeOf([&] { user.files->downloadFile(FileDownloadRequest("guess")); }),
              Code::RESOURCE_NOT_FOUND);
}

}  // namespace
}  // namespace storage::kvxremote
