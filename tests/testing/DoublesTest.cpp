#include <gtest/gtest-spi.h>

#include <future>
#include <thread>

#include "storage/kvxtesting/FakeStore.h"
#include "storage/kvxtesting/Matchers.h"
#include "storage/kvxtesting/Mocks.h"
#include "storage/kvxtesting/Recording.h"
#include "storage/kvxtesting/ScriptedTransport.h"

namespace storage::kvxtesting {
namespace {

using namespace kvxclient;
using namespace std::chrono_literals;
using Code = KVXClientErrorCode;
using kvxtransport::Fault;
using kvxtransport::FaultPlan;
namespace operations = kvxtransport::operations;
using ::testing::_;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

const Resource place(u"/a", u"b");

FileCreateRequest upload(const std::string& text) {
    FileCreateRequest request(place);
    request.appendContent(text.data(), text.size());
    return request;
}

TEST(ScriptedTransport, EndsEachCallAsItsScriptSays) {
    const ScriptedFileAccess files;
    const auto& transport = files.transport;
    EXPECT_THAT([&] { files.deleteFile(place); }, Succeeds());
    transport.on<operations::ReadFile>().answers(FileReadResponse().withContentType("all"));
    transport.on<operations::ReadFile>(2).fails(Code::CONFLICT);
    transport.on<operations::ReadFile>(3).drops();
    transport.on<operations::ReadFile>(4).fails(Code::BAD_NETWORK).after(1ms);
    transport.on<operations::ReadFile>(5).drops().after(0ms);
    EXPECT_EQ(files.readFile(place).getContentType(), "all");
    EXPECT_THAT([&] { files.readFile(place); }, FailsWith(Code::CONFLICT));
    EXPECT_THROW(files.readFile(place), std::future_error);
    EXPECT_THAT([&] { files.readFile(place); }, FailsWith(Code::BAD_NETWORK));
    EXPECT_THROW(files.readFile(place), std::future_error);
    EXPECT_EQ(files.readFile(place).getContentType(), "all");
    // The second call from now on, though there were others before.
    transport.on<operations::ReadFile>(2).fails(Code::UNKNOWN);
    EXPECT_THAT([&] { files.readFile(place); }, Succeeds());
    EXPECT_THAT([&] { files.readFile(place); }, FailsWith(Code::UNKNOWN));
    // What is said later takes the place of what was said before.
    transport.on<operations::ReadFile>().fails(Code::UNKNOWN).answers({});
    EXPECT_THAT([&] { files.readFile(place); }, Succeeds());
    EXPECT_EQ(transport.reached().size(), 10U);
    EXPECT_EQ(transport.reached()[0], "deleteFile");
}

TEST(ScriptedTransport, EndsCallsWhenToldOrCancelledOrAtItsEnd) {
    auto client = std::make_unique<ScriptedClient>();
    const ScriptedTransport transport = client->transport;
    transport.on<operations::ReadFile>()
        .answers(FileReadResponse().withContentType("x"))
        .whenTold();
    transport.on<operations::DeleteFile>().after(1h);
    auto files = client->createFileAccess();
    const auto start = [&] { return files->readFileAsync(place); };
    auto first = start();
    auto second = start();
    auto third = start();
    EXPECT_TRUE(transport.waitUntilWaiting(3));
    EXPECT_FALSE(transport.waitUntilWaiting(4, 0ms));
    EXPECT_EQ(transport.waiting(), 3U);
    EXPECT_EQ(first.wait_for(0s), std::future_status::timeout);
    EXPECT_EQ(transport.release(1), 1U);
    EXPECT_EQ(first.get().getContentType(), "x");
    EXPECT_EQ(second.wait_for(0s), std::future_status::timeout);
    auto late = files->deleteFileAsync(place);
    client->cancelPendingCalls();
    client->waitForPendingCalls();
    EXPECT_THAT(second, FailsWith(Code::BAD_NETWORK));
    EXPECT_THAT(third, FailsWith(Code::BAD_NETWORK));
    EXPECT_THAT(late, FailsWith(Code::BAD_NETWORK));
    {
        ScriptedFileAccess ending;
        ending.transport.on<operations::ReadFile>().whenTold();
        first = ending.readFileAsync(place);
    }
    EXPECT_THAT(first, FailsWith(Code::BAD_NETWORK));
}

TEST(Recording, KeepsCallsInOrderWithWhatBecameOfThem) {
    const ScriptedTransport transport;
    transport.on<operations::CreateFile>(2).fails(Code::QUOTA_EXCEEDED);
    transport.on<operations::CreateFile>(3).drops();
    transport.on<operations::ReadFile>().whenTold();
    transport.on<operations::Login>().answers(LoginResponse().withSessionId("secret"));
    const auto recording = std::make_shared<Recording>();
    auto inner = std::make_shared<ScriptedClient>("inner", transport);
    inner->withSessionId("kept");
    const auto client = recorded(inner, recording);
    EXPECT_EQ(client->getSessionId(), "kept");
    const auto files = client->createFileAccess();
    client->ping();
    client->login(LoginRequest().withToken("hidden"));
    for (const char* text : {"1", "two", "three"}) {
        files->createFileAsync(upload(text));
    }
    auto pending = files->readFileAsync(place);
    const auto calls = recording->calls();
    const struct {
        std::string_view operation;
        std::string request;
        Outcome outcome;
        std::optional<Code> error;
    } rows[] = {{"ping", "", Outcome::SUCCEEDED, {}},
                {"login", "LoginRequest{token: ***", Outcome::SUCCEEDED, {}},
                {"createFile", "content: 1 bytes", Outcome::SUCCEEDED, {}},
                {"createFile", "content: 3 bytes", Outcome::FAILED, Code::QUOTA_EXCEEDED},
                {"createFile", "content: 5 bytes", Outcome::DROPPED, {}},
                {"readFile", "path: \"/a\"", Outcome::PENDING, {}}};
    ASSERT_EQ(calls.size(), std::size(rows));
    for (std::size_t i = 0; i < calls.size(); ++i) {
        EXPECT_EQ(calls[i].operation, rows[i].operation) << i;
        EXPECT_THAT(calls[i].request, HasSubstr(rows[i].request));
        EXPECT_EQ(calls[i].outcome, rows[i].outcome) << i;
        EXPECT_EQ(calls[i].error, rows[i].error) << i;
        EXPECT_THAT(calls[i].request + calls[i].response,
                    AllOf(Not(HasSubstr("secret")), Not(HasSubstr("hidden"))));
    }
    EXPECT_THAT(calls[1].response, HasSubstr("sessionId: ***"));
    const auto requests = recording->requests<operations::CreateFile>();
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_THAT(requests[1], AllOf(HasPath(u"/a"), HasBucket(u"b"), HasContent("two")));
    transport.release();
    EXPECT_EQ(recording->calls().back().outcome, Outcome::SUCCEEDED);
}

TEST(Mocks, SeeAllFormsAndCompleteThem) {
    const ::testing::StrictMock<MockFileAccess> files;
    EXPECT_CALL(files, readFile(HasPath(u"/a"), _))
        .WillOnce(Answers(FileReadResponse().withContentType("x")))
        .WillOnce(Fails(Code::RESOURCE_NOT_FOUND))
        .WillOnce([](auto, const auto&) {});
    EXPECT_EQ(files.readFileAsync(place).get().getContentType(), "x");
    EXPECT_THAT([&] { files.readFile(place); }, FailsWith(Code::RESOURCE_NOT_FOUND));
    EXPECT_THROW(files.readFile(place), std::future_error);

    const ::testing::NiceMock<MockKVXClient> client;
    EXPECT_CALL(client, ping(_)).WillOnce(Answers(PingResponse().withValue("alive")));
    EXPECT_CALL(client, createFileAccess).WillOnce([] {
        return std::make_unique<::testing::NiceMock<MockFileAccess>>();
    });
    EXPECT_EQ(client.ping().getValue(), "alive");
    EXPECT_THROW(client.createFileAccess()->readFile(place), std::future_error);

    const MockAccessControl sharing;
    const MockConfigurationManagement configuration;
    const MockNotification changes;
    const MockVersioning versions;
    EXPECT_CALL(sharing, listPermissions).WillOnce(Fails(Code::UNAUTHORIZED));
    EXPECT_CALL(configuration, getStorageUsage).WillOnce(Fails(Code::UNAUTHORIZED));
    EXPECT_CALL(changes, listFileChanges).WillOnce(Fails(Code::UNAUTHORIZED));
    EXPECT_CALL(versions, listVersions).WillOnce(Fails(Code::UNAUTHORIZED));
    const std::function<void()> calls[] = {
        [&] { sharing.listPermissions(place); },
        [&] { configuration.getStorageUsage(StorageUsageGetRequest()); },
        [&] { changes.listFileChanges(FileChangeListRequest()); },
        [&] { versions.listVersions(place); }};
    for (const auto& call : calls) {
        EXPECT_THAT(call, FailsWith(Code::UNAUTHORIZED));
    }
}

TEST(FakeStore, ServesUsersAndLetsTimePass) {
    const FakeStore store;
    const auto ada = store.user(u"ada");
    const auto again = store.user(u"ada");
    const auto files = ada->createFileAccess();
    const Resource own(u"/f", u"");
    FileCreateRequest request(own);
    request.appendContent("text", 4);
    files->createFile(std::move(request));
    EXPECT_THAT(again->createFileAccess()->readFile(own), HasContent("text"));
    EXPECT_THAT([&] { store.user(u"bob")->createFileAccess()->readFile(own); },
                FailsWith(Code::RESOURCE_NOT_FOUND));
    store.pass(2h);
    EXPECT_THAT([&] { files->readFile(own); }, FailsWith(Code::SESSION_EXPIRED));
    store.bucket(u"more", u"eve");
    const auto more = [&] {
        store.user(u"eve")->createFileAccess()->listFolder(Resource(u"/", u"more"));
    };
    EXPECT_THAT(more, Succeeds());

    const auto plan = std::make_shared<FaultPlan>();
    plan->add({"createFolder", 1, Code::BAD_NETWORK});
    const auto client = faulty(store.user(u"ada"), plan);
    const auto make = [&] { client->createFileAccess()->createFolder(Resource(u"/folder", u"")); };
    EXPECT_THAT(make, FailsWith(Code::BAD_NETWORK));
    EXPECT_THAT(make, Succeeds());
}

TEST(Matchers, SayWhatDiffersAndHideSecrets) {
    const auto explain = [](const auto& matcher, const auto& value) {
        ::testing::StringMatchResultListener listener;
        EXPECT_FALSE(::testing::ExplainMatchResult(matcher, value, &listener));
        return listener.str();
    };
    FileSummary found;
    found.withName(u"a").withSize(12);
    FileSummary wanted = found;
    wanted.withSize(13);
    EXPECT_EQ(explain(IsRecord(wanted), found), "where size is not as expected: 12, not 13");
    EXPECT_THAT(found, IsRecord(FileSummary(found)));
    EXPECT_EQ(explain(IsRecord(LoginRequest().withToken("s3cret")), LoginRequest()),
              "where token is not as expected");
    EXPECT_EQ(::testing::PrintToString(LoginResponse().withSessionId("s3cret")),
              "LoginResponse{sessionId: ***, minutesBeforeRelogin: 0}");
    EXPECT_THAT(explain(HasPath(u"/x"), FileReadRequest(place)), HasSubstr("/a"));
    EXPECT_THAT(explain(HasContent("x"), upload("text")), HasSubstr("\"text\""));
    EXPECT_THAT(explain(FailsWith(Code::CONFLICT), [] {}), HasSubstr("succeeds"));
    EXPECT_THAT(
        explain(FailsWith(Code::CONFLICT), [] { throw KVXClientException(Code::UNAUTHORIZED); }),
        HasSubstr("UNAUTHORIZED"));
    EXPECT_THAT(explain(Succeeds(), [] { throw std::runtime_error("why"); }), HasSubstr("why"));
    EXPECT_NONFATAL_FAILURE(EXPECT_EQ(wanted, found), "size: 13");
}

}  // namespace
}  // namespace storage::kvxtesting
