#include "storage/kvxtransport/FaultInjector.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "storage/kvxtesting/ScriptedTransport.h"
#include "storage/kvxtransport/ClientDispatcher.h"

namespace storage::kvxtransport {
namespace {

using namespace kvxclient;
using namespace kvxtesting;
using namespace std::chrono_literals;

/// A client over a finished client whose transport is scripted, with faults between the two.
class FaultInjectorTest : public testing::Test {
protected:
    auto start() const {
        return files->createFolderAsync(FolderCreateRequest(Resource(u"/a", u"b")));
    }

    /// How many calls have reached the scripted transport.
    std::size_t reached() const { return scripted.reached().size(); }

    const std::shared_ptr<FaultPlan> plan = std::make_shared<FaultPlan>();
    const ScriptedTransport scripted;
    std::unique_ptr<KVXClient> client =
        std::make_unique<DispatchingClient<FaultInjector<ClientDispatcher>>>(
            "endpoint",
            FaultInjector(ClientDispatcher(std::make_shared<ScriptedClient>("inner", scripted)),
                          plan));
    std::unique_ptr<FileAccess> files = client->createFileAccess();
};

KVXClientErrorCode errorOf(std::future<FolderCreateResponse> call) {
    try {
        call.get();
    } catch (const KVXClientException& error) {
        return error.getErrorCode();
    }
    throw std::logic_error("no error");
}

TEST_F(FaultInjectorTest, RefusesTheCallThatIsPlannedAndNoOther) {
    plan->add({"createFolder", 2, KVXClientErrorCode::QUOTA_EXCEEDED});
    start().get();
    EXPECT_EQ(errorOf(start()), KVXClientErrorCode::QUOTA_EXCEEDED);
    start().get();
    EXPECT_EQ(reached(), 2U);
    EXPECT_EQ(plan->fired().size(), 1U);
}

TEST_F(FaultInjectorTest, LosesAnAnswerAfterTheEffect) {
    plan->add({"", 1, {}, {}, true});
    EXPECT_THROW(start().get(), std::future_error);
    EXPECT_EQ(reached(), 1U);
    client->waitForPendingCalls();
}

TEST_F(FaultInjectorTest, HoldsBackACompletionUntilItIsDueOrCancelled) {
    plan->add({"createFolder", 1, {}, 50ms});
    plan->add({"createFolder", 2, {}, 1h});
    plan->add({"createFolder", 3, KVXClientErrorCode::CONFLICT, 1h});
    const auto begin = std::chrono::steady_clock::now();
    start().get();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 50ms);

    auto delayed = start();
    auto refused = start();
    EXPECT_EQ(reached(), 2U);
    EXPECT_EQ(delayed.wait_for(10ms), std::future_status::timeout);
    client->cancelPendingCalls();
    client->waitForPendingCalls();
    EXPECT_EQ(errorOf(std::move(delayed)), KVXClientErrorCode::BAD_NETWORK);
    EXPECT_EQ(errorOf(std::move(refused)), KVXClientErrorCode::BAD_NETWORK);
}

TEST_F(FaultInjectorTest, CompletesAtItsEndWhatItHoldsBackAlsoWhenAHandlerHoldsTheLastOfIt) {
    plan->add({"createFolder", 1, {}, 1h});
    plan->add({"createFolder", 2, {}, 20ms});
    auto held = start();
    std::promise<void> last;
    auto done = last.get_future();
    std::shared_ptr<FileAccess> all = std::move(files);
    const FileAccess& service = *all;
    service.createFolder(FolderCreateRequest(Resource(u"/a", u"b")),
                         [all = std::move(all), &last](auto, auto) mutable {
                             all.reset();
                             last.set_value();
                         });
    client.reset();
    done.get();
    held.get();
}

TEST_F(FaultInjectorTest, WaitsForCallsThatHandlersOfFaultyCallsMake) {
    constexpr int rounds = 50;
    std::atomic<int> completed = 0;
    std::vector<std::thread> service;
    scripted.on<operations::CreateFolder>().runs([&](auto, auto handler) {
        service.emplace_back([&completed, handler] {
            std::this_thread::sleep_for(1ms);
            ++completed;
            handler({}, nullptr);
        });
    });
    for (int i = 0; i < rounds; ++i) {
        plan->add({"createFolder", 1, KVXClientErrorCode::BAD_NETWORK});
        files->createFolder(FolderCreateRequest(Resource()), [&](auto, const auto&) {
            files->createFolder(Resource(), [](auto, auto) {});
        });
        client->waitForPendingCalls();
        for (std::thread& thread : service) {
            thread.join();
        }
        service.clear();
    }
    EXPECT_EQ(completed, rounds);
}

TEST_F(FaultInjectorTest, PassesOnTheCallersSession) {
    std::string seen;
    const auto inner = std::make_shared<ScriptedClient>("inner", scripted);
    DispatchingClient<ClientDispatcher> outer("outer", ClientDispatcher(inner));
    scripted.on<operations::Logout>().runs([&](auto, auto handler) {
        seen += inner->getSessionId() + ' ';
        handler({}, nullptr);
    });
    for (const char* session : {"first", "second"}) {
        outer.withSessionId(session).logout(LogoutRequest());
    }
    EXPECT_EQ(seen, "first second ");
}

}  // namespace
}  // namespace storage::kvxtransport
