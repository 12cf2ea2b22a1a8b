#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ScriptedServer.h"
#include "client/Orders.h"
#include "client/Settings.h"
#include "storage/kvxclient.h"
#include "storage/kvxremote/Remote.h"

namespace storage::kvxremote {
namespace {

using namespace kvxclient;
using namespace std::chrono_literals;
using testing::answer;
using testing::cut;
using testing::hold;
using testing::Reaction;
using testing::ScriptedServer;
using testing::SeenRequest;

/// The code of an error, and the cause that it nests.
std::string textOf(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const KVXClientException& failure) {
        std::ostringstream text;
        text << failure.getErrorCode();
        std::string words = text.str().substr(text.str().rfind(':') + 1);
        try {
            std::rethrow_if_nested(failure);
        } catch (const std::runtime_error& cause) {
            words += std::string(": ") + cause.what();
        }
        return words;
    } catch (const std::exception& other) {
        return std::string("no error of the service: ") + other.what();
    }
}

template <class Call>
std::string outcomeOf(const Call& call) {
    try {
        call();
        return "OK";
    } catch (...) {
        return textOf(std::current_exception());
    }
}

const Resource anyFolder(u"/folder", u"main");

void ping(KVXClient& client) { client.ping(); }
void login(KVXClient& client) { client.login(LoginRequest().withToken("token")); }
void createFolder(KVXClient& client) { client.createFileAccess()->createFolder(anyFolder); }

// URLs.

TEST(ClientUrlTest, SaysTheSameAsTheOptionsOrThatItIsWrong) {
    struct Case {
        const char* url;
        const char* expected;
    };
    const Case cases[] = {
        {"kvx://host", "https://host:7420 ca=env.pem cert=env.crt t=60 r=4 c=64"},
        {"kvx://a:1,[::1]:2/?ca=%2Fmy%20ca&timeout=5",
         "https://a:1 https://[::1]:2 ca=/my ca cert=env.crt t=5 r=4 c=64"},
        {"kvx://h?cert=c&key=k&retries=1&connections=1024",
         "https://h:7420 ca=env.pem cert=c key=k t=60 r=1 c=1024"},
        {"kvx+plain://127.9.9.9:80",
         "http://127.9.9.9:80 direct ca=env.pem cert=env.crt t=60 r=4 c=64"},
        {"kvx+plain://localhost,[::1]",
         "http://localhost:7420 http://[::1]:7420 direct ca=env.pem cert=env.crt t=60 r=4 c=64"},
        {"kvx+unix:///run/a%20b?timeout=86400",
         "http://localhost socket=/run/a b direct ca=env.pem cert=env.crt t=86400 r=4 c=64"},
        {"kvx+plain://10.0.0.1", "!kvx+plain: would send everything readable to 10.0.0.1"},
        {"kvx+plain://localhost,far.example", "!kvx+plain: would send"},
        {"http://host", "!a server's URL begins with"},
        {"kvx://", "!the URL names no host"},
        {"kvx://user@host", "!the URL names no host"},
        {"kvx://a,,b", "!the URL names no host"},
        {"kvx://host/path", "!the URL names no host"},
        {"kvx://[::1", "!the URL names no host"},
        {"kvx://[::1]x", "!the URL names no host"},
        {"kvx://host:0", "!\"port\" must be a number from 1 to 65535"},
        {"kvx://host:", "!\"port\" must be"},
        {"kvx://host:80x", "!\"port\" must be"},
        {"kvx://host?timeout=0", "!\"timeout\" must be a number from 1 to 86400"},
        {"kvx://host?connections=1025", "!\"connections\" must be"},
        {"kvx://host?retries=-1", "!\"retries\" must be"},
        {"kvx://host?ca=%2", "!the URL's option \"ca\" is not percent-encoded"},
        {"kvx://host?color=red", "!the URL has an unknown option \"color\""},
        {"kvx://host?key=k", "!a key needs its certificate"},
        {"kvx+unix://relative", "!kvx+unix: needs the absolute path"},
        {"kvx+unix:///a%00b", "!kvx+unix: needs the absolute path"},
    };
    const auto environment = [](const char* name) {
        return std::string(name) == "KVX_CA_FILE"       ? "env.pem"
               : std::string(name) == "KVX_CLIENT_CERT" ? "env.crt"
                                                        : "";
    };
    for (const auto& [url, expected] : cases) {
        std::ostringstream text;
        try {
            const Settings settings = parseSettings(url, {}, environment);
            for (const std::string& server : settings.servers) {
                text << server << " ";
            }
            const RemoteOptions& options = settings.options;
            text << (settings.socketPath.empty() ? "" : "socket=" + settings.socketPath + " ")
                 << (settings.direct ? "direct " : "") << "ca=" << options.caFile
                 << " cert=" << options.certificateFile
                 << (options.keyFile.empty() ? "" : " key=" + options.keyFile)
                 << " t=" << options.timeout.count() << " r=" << options.attempts
                 << " c=" << options.connections;
        } catch (const std::invalid_argument& wrong) {
            text << "!" << wrong.what();
        }
        EXPECT_EQ(text.str().substr(0, std::string(expected).size()), expected) << url;
        EXPECT_TRUE(*expected == '!' || text.str() == expected) << text.str();
    }
}

// Repeats. The connection that asked for the server's limits is kept, so that the first cut of it
// costs no attempt.

struct RepeatCase {
    const char* name;
    std::vector<Reaction> script;
    void (*call)(KVXClient& client);
    const char* outcome;
    std::size_t requests;
};

const RepeatCase repeatCases[] = {
    {"a read begins anew", {cut(), cut(), cut()}, ping, "OK", 4},
    {"four attempts", {cut(), cut(), cut(), cut(), cut()}, ping, "BAD_NETWORK: connection lost", 5},
    {"a change is sent again", {cut(), cut()}, createFolder, "OK", 3},
    {"a change stays in doubt",
     {cut(), cut(), cut(), cut(), cut()},
     createFolder,
     "BAD_NETWORK: outcome unknown: connection lost",
     5},
    {"the server does not know",
     {cut(), answer(409, "KVX-In-Doubt: 1\r\n")},
     createFolder,
     "BAD_NETWORK: outcome unknown: the server does not know whether it carried out the first "
     "attempt",
     2},
    {"a login may happen twice", {cut()}, login, "OK", 2},
    {"half an answer",
     {{answer(200).bytes.substr(0, 60), Reaction::Then::CLOSE}},
     createFolder,
     "OK",
     2},
    {"half a body",
     {{answer(200, {}, "{       }").bytes.substr(0, 70), Reaction::Then::CLOSE}},
     ping,
     "OK",
     2},
    {"an error is final", {answer(500, "KVX-Error: 2\r\n")}, ping, "BAD_NETWORK", 1},
    {"the header counts", {answer(200, "KVX-Error: 5\r\n")}, createFolder, "CONFLICT", 1},
    {"no room for now", {answer(503, "Retry-After: 0\r\n"), answer(429)}, createFolder, "OK", 3},
    {"no room for long",
     {answer(503, "Retry-After: 60\r\n")},
     createFolder,
     "BAD_NETWORK: not sent: the server has no room",
     1},
    {"a proxy refuses", {answer(403)}, ping, "UNAUTHORIZED: refused on the way to the server", 1},
    {"a proxy errs", {answer(502)}, ping, "UNKNOWN: the answer has the status 502 and no code", 1},
    {"no end",
     {{"HTTP/1.1 200 OK\r\n\r\n{}", Reaction::Then::CLOSE}},
     createFolder,
     "INTERNAL_SERVER_ERROR: the answer does not say where it ends",
     1},
    {"no HTTP",
     {{"what?\r\n\r\n", Reaction::Then::CLOSE}},
     ping,
     "INTERNAL_SERVER_ERROR: the answer is malformed",
     1},
};

TEST(ClientRepeatTest, RepeatsWhatWasLostAndNothingElse) {
    for (const RepeatCase& test : repeatCases) {
        const ScriptedServer server({test.script.begin(), test.script.end()});
        const auto client = connect(server.url());
        EXPECT_EQ(outcomeOf([&] { test.call(*client); }), test.outcome) << test.name;
        const auto seen = server.seen();
        ASSERT_EQ(seen.size(), test.requests) << test.name;
        for (std::size_t i = 1; i < seen.size(); ++i) {
            EXPECT_EQ(seen[i].header("KVX-Call"), seen[0].header("KVX-Call")) << test.name;
        }
        EXPECT_EQ(seen[0].header("KVX-Call").size(), test.call == ping ? 0U : 32U) << test.name;
        // Only what must not happen twice names the server that had it first.
        const bool names = test.call == createFolder && test.requests > 1 &&
                           test.script[0].bytes.find(" 503 ") == std::string::npos;
        EXPECT_EQ(seen.back().header("KVX-Boot"), names ? "00000000000000b1" : "") << test.name;
        EXPECT_EQ(seen.back().header("KVX-Age").empty(), !names) << test.name;
        EXPECT_EQ(seen.front().header("KVX-Boot"), "") << test.name;
    }
}

TEST(ClientRepeatTest, WhatAProxyFindsTooLongGoesAsPost) {
    const ScriptedServer server({answer(414), cut(), cut(), answer(200), answer(431), answer(431)});
    const auto client = connect(server.url());
    FileCreateRequest request(anyFolder);
    request.withContentType("text/plain").appendContent("content", 7);
    EXPECT_EQ(outcomeOf([&] { client->createFileAccess()->createFile(request); }), "OK");
    EXPECT_EQ(outcomeOf([&] { createFolder(*client); }),
              "UNKNOWN: the answer has the status 431 and no code");
    const auto seen = server.seen();
    ASSERT_EQ(seen.size(), 6U);
    EXPECT_EQ(seen[0].line(), "PUT /v1/files/main/folder");
    const SeenRequest& last = seen[3];
    EXPECT_EQ(last.line(), "POST /v1/createFile");
    const std::size_t size = last.body.size() - 7;
    EXPECT_EQ(last.header("KVX-Json-Size"), std::to_string(size));
    EXPECT_EQ(last.header("Content-Type"), "application/octet-stream");
    EXPECT_EQ(last.body.substr(size), "content");
    EXPECT_NE(last.body.find(R"("contentType":"text/plain")"), std::string::npos);
    EXPECT_EQ(last.header("KVX-Call"), seen[0].header("KVX-Call"));
    EXPECT_EQ(seen[1].header("KVX-Boot"), "");  // Nothing was carried out.
    EXPECT_NE(last.header("KVX-Boot"), "");
    EXPECT_EQ(seen[5].line(), "POST /v1/createFolder");
}

TEST(ClientRepeatTest, WaitsAsLongAsTheServerSays) {
    const ScriptedServer server({answer(503, "Retry-After: 1\r\n")});
    const auto client = connect(server.url());
    const auto begin = std::chrono::steady_clock::now();
    client->ping();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 1s);
}

TEST(ClientRepeatTest, AKeptConnectionThatWasClosedCostsNoAttempt) {
    const ScriptedServer server({answer(200), cut(), answer(200), cut(), answer(200)});
    const auto client = connect(server.url() + "?retries=1");
    EXPECT_EQ(outcomeOf([&] { ping(*client); }), "OK");
    EXPECT_EQ(outcomeOf([&] { ping(*client); }), "OK");
    EXPECT_EQ(outcomeOf([&] { createFolder(*client); }), "OK");
    const auto seen = server.seen();
    ASSERT_EQ(seen.size(), 5U);
    EXPECT_EQ(seen[1].connection, seen[0].connection);
    EXPECT_NE(seen[2].connection, seen[1].connection);
    EXPECT_EQ(seen[3].header("KVX-Boot"), "");
    EXPECT_EQ(seen[4].header("KVX-Boot"), "00000000000000b1");
    EXPECT_EQ(seen[4].header("KVX-Call"), seen[3].header("KVX-Call"));
}

TEST(ClientRepeatTest, GoesToTheServerThatWorksAndStaysThere) {
    auto first = std::make_unique<ScriptedServer>();
    const ScriptedServer second;
    const std::string gone = first->address();
    first.reset();
    const auto client = connect("kvx+plain://" + gone + "," + second.address() + "?retries=1");
    EXPECT_EQ(outcomeOf([&] { createFolder(*client); }), "OK");
    EXPECT_EQ(outcomeOf([&] { ping(*client); }), "OK");
    EXPECT_EQ(second.seen().size(), 2U);
    EXPECT_EQ(second.seen()[1].connection, second.seen()[0].connection);
    const auto alone = connect("kvx+plain://" + gone + "?retries=2");
    EXPECT_EQ(outcomeOf([&] { ping(*alone); }), "BAD_NETWORK: connection refused");
    EXPECT_EQ(outcomeOf([&] { createFolder(*alone); }),
              "BAD_NETWORK: not sent: connection refused");
}

TEST(ClientRepeatTest, GivesUpACallThatMakesNoProgress) {
    const ScriptedServer server({{"HTTP/1.1 200 OK\r\nContent-", Reaction::Then::HOLD}, hold()});
    const auto client = connect(server.url() + "?timeout=1&retries=2");
    EXPECT_EQ(outcomeOf([&] { createFolder(*client); }),
              "BAD_NETWORK: outcome unknown: no progress");
    EXPECT_EQ(outcomeOf([&] { ping(*client); }), "OK");
}

TEST(ClientTlsTest, ConnectionsGoOnWithTheSessionsOfOthers) {
    std::string file = ::testing::TempDir() + "kvxtls-XXXXXX";
    close(mkstemp(file.data()));
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 "
        "-subj /CN=localhost -addext subjectAltName=IP:127.0.0.1 -keyout " +
        file + " 2>/dev/null >" + file + ".crt && cat " + file + ".crt >>" + file;
    ASSERT_EQ(std::system(command.c_str()), 0);
    const ScriptedServer server({hold()}, "1", file);
    const auto client = connect("kvx://" + server.address() + "?ca=" + file);
    client->ping([](const PingResponse&, const std::exception_ptr&) {});
    server.waitFor(1);
    EXPECT_EQ(outcomeOf([&] { ping(*client); }), "OK");
    EXPECT_FALSE(server.seen()[0].resumed);
    EXPECT_TRUE(server.seen()[1].resumed);
    client->cancelPendingCalls();
    std::remove(file.c_str());
    std::remove((file + ".crt").c_str());
}

// Handlers.

/// Counts the handlers of many calls that the server does not answer.
class Pending {
public:
    void start(const KVXClient& client, const FileAccess& files) {
        for (int i = 0; i < 40; ++i) {
            client.ping(handler<PingResponse>());
            files.createFolder(anyFolder, handler<FolderCreateResponse>());
            FileContentWriteRequest write(anyFolder);
            files.writeFileContent(
                write.withFileHandleId("handle").withStartLocation(0).withContent(bytes_.data(),
                                                                                  bytes_.size()),
                handler<FileContentWriteResponse>());
        }
    }

    void expectEachOnce() const {
        EXPECT_EQ(calls_, 120);
        EXPECT_EQ(badNetworks_, 120);
    }

private:
    template <class Response>
    CompletionHandler<Response> handler() {
        return [this](const Response&, const std::exception_ptr& error) {
            ++calls_;
            badNetworks_ += error && textOf(error).rfind("BAD_NETWORK", 0) == 0 ? 1 : 0;
        };
    }

    std::vector<unsigned char> bytes_ = std::vector<unsigned char>(3 << 20U);
    std::atomic<int> calls_{0};
    std::atomic<int> badNetworks_{0};
};

TEST(ClientPendingTest, CancellingCompletesEachCallOnce) {
    const ScriptedServer server(std::deque<Reaction>(120, hold()));
    const auto client = connect(server.url() + "?connections=16");
    const auto files = client->createFileAccess();
    Pending pending;
    pending.start(*client, *files);
    server.waitFor(8);
    client->cancelPendingCalls();
    client->waitForPendingCalls();
    pending.expectEachOnce();
}

TEST(ClientPendingTest, TheEndOfTheClientCompletesEachCallOnce) {
    for (const bool waits : {true, false}) {
        const ScriptedServer server(std::deque<Reaction>(120, hold()));
        auto client = connect(server.url());
        auto files = client->createFileAccess();
        Pending pending;
        pending.start(*client, *files);
        if (waits) {
            server.waitFor(8);
        }
        files.reset();
        client.reset();
        pending.expectEachOnce();
    }
}

TEST(ClientPendingTest, AHandlerMayEndTheClient) {
    const ScriptedServer server;
    for (int i = 0; i < 50; ++i) {
        std::promise<void> done;
        std::shared_ptr<KVXClient> client = connect(server.url());
        const KVXClient& used = *client;
        used.ping([&done, held = std::move(client)](const PingResponse&,
                                                    const std::exception_ptr&) mutable {
            held.reset();
            done.set_value();
        });
        done.get_future().get();
    }
}

TEST(ClientPendingTest, ManyCallersGetTheirOwnAnswersWhileOneCancels) {
    const ScriptedServer server;
    const auto client = connect(server.url() + "?connections=4");
    std::atomic<int> handled{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&] {
            for (int call = 0; call < 600; ++call) {
                client->ping([&](const PingResponse&, const std::exception_ptr&) { ++handled; });
            }
        });
    }
    for (int i = 0; i < 20; ++i) {
        client->cancelPendingCalls();
        std::this_thread::sleep_for(1ms);
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    client->waitForPendingCalls();
    EXPECT_EQ(handled, 2400);
}

// Content.

TEST(ClientContentTest, UploadsWaitForTheServersWordAndArriveWhole) {
    const ScriptedServer server({cut()});
    const auto client = connect(server.url());
    FileCreateRequest request(Resource(u"/a b", u"main"));
    std::string content(3 << 20U, 'x');
    content += '\0';
    request.appendContent(content.data(), content.size());
    EXPECT_EQ(outcomeOf([&] { client->createFileAccess()->createFile(request); }), "OK");
    ASSERT_EQ(server.seen().size(), 2U);
    for (const SeenRequest& seen : server.seen()) {
        EXPECT_EQ(seen.line(), "PUT /v1/files/main/a%20b");
        EXPECT_EQ(seen.header("Expect"), "100-continue");
        EXPECT_EQ(seen.body, content);
    }
}

TEST(ClientContentTest, NothingIsSentThatCannotSucceed) {
    const ScriptedServer server({}, "10");
    const auto client = connect(server.url());
    FileCreateRequest request(anyFolder);
    request.appendContent("01234567890", 11);
    EXPECT_EQ(outcomeOf([&] { client->createFileAccess()->createFile(request); }),
              "FILE_TOO_LARGE");
    client->withSessionId("a\nb");
    EXPECT_EQ(outcomeOf([&] { createFolder(*client); }), "INVALID_SESSION_ID");
    EXPECT_TRUE(server.seen().empty());
}

// The order of calls on a handle.

/// A handle that is open for writing, and the outcomes of writes through it in their order.
class Writer {
public:
    explicit Writer(const KVXClient& client) : files(client.createFileAccess()) {
        files->createReadWriteFileHandle(FileHandleReadWriteCreateRequest(anyFolder));
    }

    std::future<std::string> write() const {
        auto outcome = std::make_shared<std::promise<std::string>>();
        static const unsigned char byte = 1;
        FileContentWriteRequest request(anyFolder);
        files->writeFileContent(
            request.withFileHandleId("h1").withStartLocation(0).withContent(&byte, 1),
            [outcome](const FileContentWriteResponse&, const std::exception_ptr& error) {
                outcome->set_value(error ? textOf(error) : "OK");
            });
        return outcome->get_future();
    }

    std::string close(FileHandleCloseOperation operation) const {
        return outcomeOf([&] {
            files->closeFileHandle(
                FileHandleCloseRequest(anyFolder).withFileHandleId("h1").withOperation(operation));
        });
    }

    const std::unique_ptr<FileAccess> files;
};

const Reaction opened = answer(200, {}, R"({"fileHandleId":"h1"})");

TEST(ClientOrderTest, CallsThatWaitForAnEarlierOneLeaveItAConnectionAndFailWithIt) {
    const ScriptedServer server(
        {opened, answer(503, "Retry-After: 1\r\n"), hold(), hold(), answer(403)});
    const auto client = connect(server.url() + "?connections=3");
    const Writer writer(*client);
    auto first = writer.write();
    server.waitFor(2);
    std::vector<std::future<std::string>> later;
    for (int i = 0; i < 5; ++i) {
        later.push_back(writer.write());
    }
    EXPECT_EQ(first.get(), "UNAUTHORIZED: refused on the way to the server");
    ASSERT_EQ(later.back().wait_for(10s), std::future_status::ready);
    for (std::size_t i = 0; i < later.size(); ++i) {
        EXPECT_EQ(later[i].get(), std::string("BAD_NETWORK: ") +
                                      (i < 2 ? "outcome unknown" : "not sent") +
                                      ": an earlier call on the handle was lost");
    }
    EXPECT_EQ(server.seen().at(4).header("KVX-Order"), "1");
}

TEST(ClientOrderTest, ALostCallBreaksItsHandleAndARefusedOneDoesNot) {
    const ScriptedServer server({opened, answer(409, "KVX-Error: 5\r\n"), hold()});
    const auto client = connect(server.url() + "?connections=1");
    const Writer writer(*client);
    EXPECT_EQ(writer.write().get(), "CONFLICT");
    auto sent = writer.write();
    auto waiting = writer.write();
    server.waitFor(3);
    client->cancelPendingCalls();
    EXPECT_EQ(sent.get(), "BAD_NETWORK: outcome unknown: cancelled");
    EXPECT_EQ(waiting.get(), "BAD_NETWORK: not sent: cancelled");
    const std::string lost = "BAD_NETWORK: not sent: an earlier call on the handle was lost";
    EXPECT_EQ(writer.write().get(), lost);
    EXPECT_EQ(writer.close(FileHandleCloseOperation::COMMIT_CHANGES), lost);
    // Without a number the server does not keep it waiting.
    EXPECT_EQ(writer.close(FileHandleCloseOperation::ABORT_CHANGES), "OK");
    EXPECT_EQ(server.seen().size(), 4U);
    EXPECT_EQ(server.seen().back().header("KVX-Order"), "");
}

TEST(ClientOrderTest, HandlesThatWereLeftOpenAreForgotten) {
    using std::chrono_literals::operator""h;
    Orders orders;
    const auto begin = Orders::Clock::now();
    const auto key = [](const char* handle) { return Orders::Key("session", handle); };
    for (const char* const handle : {"left", "used", "waiting"}) {
        orders.open(key(handle), begin);
    }
    const auto waiting = orders.next(key("waiting"), begin);
    EXPECT_FALSE(orders.leave(orders.next(key("used"), begin + 2h), true));
    orders.open(key("new"), begin + 3h);
    EXPECT_EQ(orders.count(), 3U);
    EXPECT_EQ(orders.next(key("left")).number, 0U);
    EXPECT_EQ(orders.next(key("used")).number, 2U);
    EXPECT_EQ(orders.next(key("waiting")).number, 2U);
    EXPECT_EQ(orders.next({"another session", "used"}).number, 0U);
}

TEST(ClientContentTest, CallsOnAHandleForWritingAreNumbered) {
    const ScriptedServer server({answer(200, {}, R"({"fileHandleId":"h1"})")});
    const auto client = connect(server.url());
    client->withSessionId("session").withApplicationId("my app");
    const auto files = client->createFileAccess();
    files->createReadWriteFileHandle(FileHandleReadWriteCreateRequest(anyFolder));
    const unsigned char byte = 1;
    for (const char* const handle : {"h1", "other", "h1"}) {
        files->writeFileContent(FileContentWriteRequest(anyFolder)
                                    .withFileHandleId(handle)
                                    .withStartLocation(0)
                                    .withContent(&byte, 1));
    }
    files->closeFileHandle(FileHandleCloseRequest(anyFolder).withFileHandleId("h1"));
    std::string orders;
    for (const SeenRequest& seen : server.seen()) {
        orders += "<" + seen.header("KVX-Order") + ">";
        EXPECT_EQ(seen.header("Authorization"), "Bearer session");
        EXPECT_EQ(seen.header("KVX-Application"), "my%20app");
    }
    EXPECT_EQ(orders, "<><1><><2><3>");
}

/// A stream that is slow at first and remembers what it got.
class SlowStream : public std::stringstream {
public:
    explicit SlowStream(std::string& result) : result_(result) {
        std::this_thread::sleep_for(50ms);
    }
    ~SlowStream() override { result_ = str(); }

private:
    std::string& result_;
};

TEST(ClientContentTest, ADownloadGoesOnWhereItWasCut) {
    std::string content;
    while (content.size() < 3'000'000) {
        content += std::to_string(content.size()) + " ";
    }
    const auto part = [&](std::size_t from, std::size_t to) {
        return Reaction{"HTTP/1.1 " + std::string(from == 0 ? "200" : "206") +
                            " OK\r\nContent-Range: bytes " + std::to_string(from) + "-" +
                            std::to_string(content.size() - 1) +
                            "/*\r\nContent-Length: " + std::to_string(content.size() - from) +
                            "\r\n\r\n" + content.substr(from, to - from),
                        Reaction::Then::CLOSE};
    };
    // The last answer brings everything again.
    const ScriptedServer server(
        {part(0, 2'000'000), part(2'000'000, 2'000'001), part(0, content.size())});
    const auto client = connect(server.url());
    std::string result;
    client->createFileAccess()->downloadFile(FileDownloadRequest("place").withStreamFactory(
        [&] { return std::make_unique<SlowStream>(result); }));
    EXPECT_TRUE(result == content) << result.size();
    const auto seen = server.seen();
    ASSERT_EQ(seen.size(), 3U);
    EXPECT_EQ(seen[0].header("Range"), "");
    EXPECT_EQ(seen[1].header("Range"), "bytes=2000000-");
    EXPECT_EQ(seen[2].header("Range"), "bytes=2000001-");
}

TEST(ClientContentTest, ADownloadIsCompleteOnlyWithoutAnErrorAtItsEnd) {
    const std::string chunked =
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n";
    const ScriptedServer server(
        {{chunked + "\r\n"}, {chunked + "KVX-Error: 13\r\n\r\n"}, {chunked + "\r\n"}});
    const auto client = connect(server.url());
    const auto files = client->createFileAccess();
    const FileDownloadRequest request = FileDownloadRequest("place").withReadIntoString(true);
    EXPECT_EQ(files->downloadFile(request).getStringBody(), "abc");
    EXPECT_EQ(outcomeOf([&] { files->downloadFile(request); }), "INTERNAL_SERVER_ERROR");
    EXPECT_EQ(outcomeOf([&] { files->downloadFile(FileDownloadRequest("place")); }),
              "INTERNAL_SERVER_ERROR: the download has no stream to go into");
}

}  // namespace
}  // namespace storage::kvxremote
