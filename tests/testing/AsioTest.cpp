#include "storage/kvxtesting/Asio.h"

#include <gtest/gtest.h>

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/spawn.hpp>

#include "storage/kvxtesting/ScriptedTransport.h"
#include "testing/Endings.h"

namespace storage::kvxtesting {
namespace {

using namespace kvxclient;
namespace asio = boost::asio;

LoginResponse responseOr(std::exception_ptr error, LoginResponse response) {
    return error ? (std::rethrow_exception(std::move(error)), response) : response;
}

class AsioTest : public testing::Test {
protected:
    AsioTest() {
        client.transport.on<operations::Login>().runs(
            [this](LoginRequest request, LoginHandler handler) {
                end(request.getToken(), std::move(handler));
            });
    }

    template <class Token>
    decltype(auto) login(std::stop_token stop, Token&& token) const {
        return async::login(client, LoginRequest().withToken("token"), std::move(stop),
                            std::forward<Token>(token));
    }

    /// What the way sees of a login whose io_context runs on this thread alone, until all is done.
    template <class Way>
    std::string outcomeFor(Way way, std::stop_token stop = {}) {
        asio::io_context context;
        std::string outcome = "nothing";
        way(context, stop, [&](auto get) {
            outcome = context.get_executor().running_in_this_thread() ? outcomeOf(std::move(get))
                                                                      : "on a wrong thread";
        });
        context.run();
        laterThreads().clear();  // They hold executors until they end.
        return outcome;
    }

    /// Each way to wait for a call on an executor.
    template <class Visitor>
    void forEachWay(Visitor visit) {
        visit("handler", [this](asio::io_context& context, std::stop_token stop, auto report) {
            asio::post(context, [=, this, &context] {
                const auto returned = std::make_shared<bool>(false);
                login(stop, asio::bind_executor(
                                context, [=](std::exception_ptr error, LoginResponse response) {
                                    EXPECT_TRUE(*returned) << "before the call returned";
                                    report([&] { return responseOr(error, response); });
                                }));
                *returned = true;
            });
        });
        visit("yield", [this](asio::io_context& context, std::stop_token stop, auto report) {
            asio::spawn(context, [=, this](asio::yield_context yield) {
                try {
                    report([response = login(stop, yield)] { return response; });
                } catch (...) {
                    report([error = std::current_exception()] { return responseOr(error, {}); });
                }
            });
        });
#ifdef BOOST_ASIO_HAS_CO_AWAIT
        visit("awaitable", [this](asio::io_context& context, std::stop_token stop, auto report) {
            asio::co_spawn(
                context, [=, this] { return login(stop, use_awaitable); },
                [=](std::exception_ptr error, LoginResponse response) {
                    report([&] { return responseOr(error, response); });
                });
        });
#endif
    }

    ScriptedClient client{"endpoint"};
    std::function<void(std::string, LoginHandler)> end;
};

TEST_F(AsioTest, EachTokenEndsOnItsExecutorHoweverTheCallEnds) {
    for (const Ending& ending : endings()) {
        end = ending.end;
        forEachWay([&](const char* name, auto way) {
            EXPECT_EQ(outcomeFor(way), ending.outcome) << ending.name << ", " << name;
        });
        EXPECT_EQ(outcomeOf(login({}, asio::use_future)), ending.outcome) << ending.name;
    }
}

TEST_F(AsioTest, StopEndsEachTokenOnItsExecutorAndDropsTheLateAnswer) {
    forEachWay([&](const char* name, auto way) {
        std::stop_source stop;
        LoginHandler late;
        end = [&](const std::string&, LoginHandler handler) {
            late = std::move(handler);
            laterThreads().emplace_back([&] { stop.request_stop(); });
        };
        EXPECT_EQ(outcomeFor(way, stop.get_token()), "Error: KVXClientErrorCode::BAD_NETWORK")
            << name;
        late(LoginResponse(), nullptr);
    });
}

TEST_F(AsioTest, HandlerWithoutExecutorRunsWhereTheCallCompletes) {
    std::thread::id where;
    async::ping(client, {}, [&](const std::exception_ptr& error, const PingResponse&) {
        EXPECT_FALSE(error);
        where = std::this_thread::get_id();
    });
    EXPECT_EQ(where, std::this_thread::get_id());
}

}  // namespace
}  // namespace storage::kvxtesting
