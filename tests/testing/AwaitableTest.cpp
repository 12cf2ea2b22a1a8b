#include "storage/kvxtesting/Awaitable.h"

#include <gtest/gtest.h>

#include <deque>
#include <latch>
#include <thread>

#include "storage/kvxtesting/ScriptedTransport.h"
#include "support/Allocations.h"
#include "testing/Endings.h"

namespace storage::kvxtesting {
namespace {

using namespace kvxclient;

const char* const badNetworkText = "Error: KVXClientErrorCode::BAD_NETWORK";

class AwaitableTest : public testing::Test {
protected:
    AwaitableTest() {
        client.transport.on<operations::Login>().runs(
            [this](LoginRequest request, LoginHandler handler) {
                end(request.getToken(), std::move(handler));
            });
    }

    Awaitable<operations::Login> login(std::stop_token stop = {}) const {
        return async::login(client, LoginRequest().withToken("token"), std::move(stop));
    }

    Task<LoginResponse> loginInTask(std::stop_token stop = {}) const {
        co_return co_await login(std::move(stop));
    }

    /// The transport keeps handlers until the test completes them.
    void keepHandlers() {
        end = [this](const std::string&, LoginHandler handler) {
            kept.push_back(std::move(handler));
        };
    }

    void answerOldest() {
        const LoginHandler handler = std::move(kept.front());
        kept.pop_front();
        handler(LoginResponse().withSessionId("late"), nullptr);
    }

    ScriptedClient client{"endpoint"};
    std::function<void(std::string, LoginHandler)> end;
    std::deque<LoginHandler> kept;
};

TEST_F(AwaitableTest, ReturnsTheResponseOrThrowsHoweverTheCallEnds) {
    for (const Ending& ending : endings()) {
        end = ending.end;
        EXPECT_EQ(outcomeOf(start(login())), ending.outcome) << ending.name;
        EXPECT_EQ(outcomeOf(start(loginInTask())), ending.outcome) << ending.name << ", in a task";
        const std::stop_source never;
        EXPECT_EQ(outcomeOf(start(login(never.get_token()))), ending.outcome)
            << ending.name << ", with a stop token";
    }
}

TEST_F(AwaitableTest, CallsThatAreStartedRunSideBySide) {
    keepHandlers();
    auto first = start(loginInTask());
    auto second = start(call<operations::Login>(client));
    start(async::ping(client)).get();
    ASSERT_EQ(kept.size(), 2U);
    answerOldest();
    EXPECT_EQ(outcomeOf(std::move(first)), "late");
    kept.clear();  // Drops the second handler.
    EXPECT_THROW(second.get(), std::future_error);
}

TEST_F(AwaitableTest, StopEndsTheAwaitOnceAndDropsTheLateAnswer) {
    keepHandlers();
    std::stop_source stop;
    auto pending = start(loginInTask(stop.get_token()));
    EXPECT_EQ(pending.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    stop.request_stop();
    EXPECT_EQ(outcomeOf(std::move(pending)), badNetworkText);
    answerOldest();

    EXPECT_EQ(outcomeOf(start(login(stop.get_token()))), badNetworkText);
    EXPECT_TRUE(kept.empty()) << "a call was made after the stop";
}

TEST_F(AwaitableTest, StopWhileTheCallStartsLosesToAnAnswerThatIsThere) {
    std::stop_source stop;
    end = [&](const std::string& token, const LoginHandler& handler) {
        stop.request_stop();
        handler(LoginResponse().withSessionId(token), nullptr);
    };
    EXPECT_EQ(outcomeOf(start(login(stop.get_token()))), "token");

    keepHandlers();
    stop = {};
    end = [&, keep = end](std::string token, LoginHandler handler) {
        stop.request_stop();
        keep(std::move(token), std::move(handler));
    };
    EXPECT_EQ(outcomeOf(start(login(stop.get_token()))), badNetworkText);
    answerOldest();
}

TEST_F(AwaitableTest, AnswerOrExceptionThatRacesWithTheOtherIsSeenOnce) {
    const auto answer = [](const LoginHandler& handler) {
        handler(LoginResponse().withSessionId("token"), nullptr);
    };
    end = [&](const std::string&, const LoginHandler& handler) {
        answer(handler);
        answer(handler);  // Too much: changes nothing.
        throw std::runtime_error("refused");
    };
    EXPECT_EQ(outcomeOf(start(login())), "refused");

    for (int i = 0; i < 500; ++i) {
        std::latch ready(3);
        std::stop_source stop;
        std::jthread answers;
        std::jthread stops([&] {
            ready.arrive_and_wait();
            stop.request_stop();
        });
        end = [&](const std::string&, LoginHandler handler) {
            answers = std::jthread([&ready, answer, i, handler = std::move(handler)]() mutable {
                ready.arrive_and_wait();
                if (i % 2 == 0) {
                    answer(handler);
                }
                handler = nullptr;
            });
            ready.arrive_and_wait();
            if (i % 3 == 0) {
                throw std::runtime_error("refused");
            }
        };
        const std::string outcome = outcomeOf(start(loginInTask(stop.get_token())));
        ASSERT_TRUE(outcome == "token" || outcome == badNetworkText || outcome == "refused" ||
                    outcome == endings()[4].outcome)
            << outcome;
    }
}

TEST_F(AwaitableTest, NeitherAnswersAtOnceNorLateOnesDeepenTheStack) {
    const auto repeat = [this](int times) -> Task<int> {
        int answers = 0;
        for (int i = 0; i < times; ++i) {
            answers += static_cast<int>((co_await login()).getSessionId().size());
            answers += static_cast<int>((co_await loginInTask()).getSessionId().size());
        }
        co_return answers;
    };
    end = endings()[0].end;
    EXPECT_EQ(start(repeat(100000)).get(), 1000000);

    keepHandlers();
    auto pending = start(repeat(30000));
    while (!kept.empty()) {
        answerOldest();
    }
    EXPECT_EQ(pending.get(), 240000);
}

TEST_F(AwaitableTest, DestroyedWhileItWaitsDropsTheLateAnswer) {
    keepHandlers();
    {
        auto awaiter = loginInTask().operator co_await();
        ASSERT_TRUE(awaiter.await_suspend(std::noop_coroutine()));
    }
    answerOldest();
}

TEST_F(AwaitableTest, WhatACoroutineHoldsEndsBeforeItsResultIsSeen) {
    keepHandlers();
    std::future<int> pending;
    bool wasReady = true;
    std::shared_ptr<void> held(nullptr, [&](void*) {
        wasReady = pending.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
    pending = start([](std::shared_ptr<void>, auto awaited) -> Task<int> {
        co_await std::move(awaited);
        co_return 7;
    }(std::move(held), loginInTask()));
    answerOldest();
    EXPECT_EQ(pending.get(), 7);
    EXPECT_FALSE(wasReady);
}

TEST_F(AwaitableTest, TakesAnAllocationLessThanAFuture) {
    const auto countAllocations = [this]() -> Task<std::size_t> {
        co_await async::logout(client);
        allocations::count = 0;
        co_await async::logout(client);
        co_return allocations::count;
    };
    const std::size_t awaited = start(countAllocations()).get();
    allocations::count = 0;
    client.logoutAsync(LogoutRequest()).get();
    EXPECT_LT(awaited, allocations::count);
}

}  // namespace
}  // namespace storage::kvxtesting
