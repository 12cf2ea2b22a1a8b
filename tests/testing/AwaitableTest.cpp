#include "storage/kvxtesting/Awaitable.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/spawn.hpp>
#include <boost/asio/use_future.hpp>
#include <thread>

#include "Task.h"
#include "storage/kvxtesting/Asio.h"
#include "storage/kvxtesting/Matchers.h"
#include "storage/kvxtesting/ScriptedTransport.h"

namespace storage::kvxtesting {
namespace {

using namespace kvxclient;
using namespace std::chrono_literals;
using Code = KVXClientErrorCode;
namespace operations = kvxtransport::operations;
namespace asio = boost::asio;

const FileReadRequest photo(Resource(u"/a", u"b"));

Task read(const FileAccess& files, std::stop_token stop = {}) {
    const auto response = co_await async::readFile(files, photo, std::move(stop));
    co_return response.getContentType();
}

class AwaitableTest : public ::testing::Test {
protected:
    void answers() const {
        files.transport.on<operations::ReadFile>().answers(FileReadResponse().withContentType("x"));
    }
    const ScriptedFileAccess files;
    const ScriptedTransport& transport = files.transport;
};

TEST_F(AwaitableTest, GivesTheResponseOrThrowsHoweverTheCallEnds) {
    answers();
    EXPECT_EQ(read(files).result.get(), "x");
    transport.on<operations::ReadFile>(1).after(1ms);
    EXPECT_EQ(read(files).result.get(), "");
    transport.on<operations::ReadFile>(1).fails(Code::CONFLICT);
    auto failed = read(files).result;
    EXPECT_THAT(failed, FailsWith(Code::CONFLICT));
    transport.on<operations::ReadFile>(1).drops();
    EXPECT_THROW(read(files).result.get(), std::future_error);
    transport.on<operations::ReadFile>(1).drops().after(1ms);
    EXPECT_THROW(read(files).result.get(), std::future_error);
    transport.on<operations::ReadFile>(
        [](const auto&, const auto&) { throw std::logic_error("x"); });
    EXPECT_THROW(read(files).result.get(), std::logic_error);
}

TEST_F(AwaitableTest, EndsInlineCallsWithoutRecursion) {
    const auto many = [](const FileAccess& service) -> Task {
        for (int i = 0; i < 200'000; ++i) {
            co_await async::readFile(service, photo);
        }
        co_return "done";
    };
    EXPECT_EQ(many(files).result.get(), "done");
}

TEST_F(AwaitableTest, AStopEndsTheAwaitAndDropsTheLateAnswer) {
    answers();
    transport.on<operations::ReadFile>().whenTold();
    std::stop_source source;
    auto stopped = read(files, source.get_token()).result;
    EXPECT_EQ(stopped.wait_for(0s), std::future_status::timeout);
    source.request_stop();
    EXPECT_THAT(stopped, FailsWith(Code::BAD_NETWORK));
    EXPECT_EQ(transport.release(), 1U);  // Nobody is there any more.
    auto late = read(files, source.get_token()).result;
    EXPECT_THAT(late, FailsWith(Code::BAD_NETWORK));
    EXPECT_EQ(transport.reached().size(), 1U);
}

/// What ThreadSanitizer sees best.
TEST_F(AwaitableTest, AStopAndAnAnswerMayRace) {
    answers();
    transport.on<operations::ReadFile>().after(0ms);
    for (int i = 0; i < 300; ++i) {
        std::stop_source source;
        auto raced = read(files, source.get_token()).result;
        std::thread stopping([&] { source.request_stop(); });
        try {
            EXPECT_EQ(raced.get(), "x");
        } catch (const KVXClientException& error) {
            EXPECT_EQ(error.getErrorCode(), Code::BAD_NETWORK);
        }
        stopping.join();
    }
}

TEST_F(AwaitableTest, TokensOfAsioGoOnOnTheirExecutor) {
    answers();
    EXPECT_EQ(async::readFile(files, photo, asio::use_future).get().getContentType(), "x");
    asio::io_context context;
    std::string seen;
    const auto thread = std::this_thread::get_id();
    async::readFile(files, photo,
                    asio::bind_executor(
                        context, [&](const std::exception_ptr& error, FileReadResponse response) {
                            EXPECT_EQ(error, nullptr);
                            EXPECT_EQ(std::this_thread::get_id(), thread);
                            seen = response.getContentType();
                        }));
    EXPECT_EQ(seen, "");
    context.run();
    EXPECT_EQ(seen, "x");
    transport.on<operations::ReadFile>(1).drops();
    EXPECT_THROW(async::readFile(files, photo, asio::use_future).get(), std::future_error);
}

#ifndef SANITIZED  // Sanitizers do not follow from stack to stack.
TEST_F(AwaitableTest, AYieldContextGoesOnOnItsExecutor) {
    answers();
    asio::io_context context;
    const auto thread = std::this_thread::get_id();
    std::string seen;
    asio::spawn(context, [&](const asio::yield_context& yield) {
        seen = async::readFile(files, photo, yield).getContentType();
        transport.on<operations::ReadFile>(1).fails(Code::CONFLICT).after(0ms);
        EXPECT_THAT([&] { async::readFile(files, photo, yield); }, FailsWith(Code::CONFLICT));
        EXPECT_EQ(std::this_thread::get_id(), thread);
    });
    context.run();
    EXPECT_EQ(seen, "x");
}
#endif

#if defined(BOOST_ASIO_HAS_CO_AWAIT)
TEST_F(AwaitableTest, CoroutinesOfAsioGoOnOnTheirExecutor) {
    answers();
    transport.on<operations::ReadFile>().after(0ms);
    transport.on<operations::ReadFile>(2).fails(Code::CONFLICT);
    asio::io_context context;
    const auto thread = std::this_thread::get_id();
    std::string seen;
    asio::co_spawn(
        context,
        [&]() -> asio::awaitable<void> {
            seen = (co_await async::readFile(files, photo, useAwaitable)).getContentType();
            EXPECT_EQ(std::this_thread::get_id(), thread);
            try {
                co_await async::readFile(files, photo, useAwaitable);
            } catch (const KVXClientException& error) {
                seen += std::to_string(static_cast<int>(error.getErrorCode()));
            }
        },
        asio::detached);
    context.run();
    EXPECT_EQ(seen, "x" + std::to_string(static_cast<int>(Code::CONFLICT)));
}
#endif

}  // namespace
}  // namespace storage::kvxtesting
