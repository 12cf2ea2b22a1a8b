#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "storage/kvxclient.h"
#include "storage/kvxtesting/ScriptedTransport.h"
#include "support/Allocations.h"

using namespace storage::kvxclient;
using namespace storage::kvxtesting;
namespace operations = storage::kvxtransport::operations;

namespace {

constexpr std::size_t large = allocations::large;

FileReadResponse largeResponse() {
    FileReadResponse response;
    const std::string content(large, 'x');
    response.appendContent(content.data(), content.size());
    return response;
}

// One call in its blocking and its future form, with the outcome of a scripted transport.
class ReadFrame : public testing::Test {
protected:
    using Handler = CompletionHandler<FileReadResponse>;

    template <class Outcome>
    void forBothForms(std::function<void(Handler)> script, Outcome outcome) {
        files_.transport.on<operations::ReadFile>().runs(
            [this, script = std::move(script)](FileReadRequest request, Handler handler) {
                lastRead_ = std::move(request);
                script(std::move(handler));
            });
        outcome([this] { return files_.readFile(request_); });
        outcome([this] { return files_.readFileAsync(request_).get(); });
    }

    const FileReadRequest request_ = FileReadRequest(Resource(u"/a", u"b"));
    ScriptedFileAccess files_;
    FileReadRequest lastRead_{Resource()};
};

const auto conflict = [] {
    return std::make_exception_ptr(KVXClientException(KVXClientErrorCode::CONFLICT));
};

TEST_F(ReadFrame, deliversAnInlineCompletion) {
    forBothForms([](Handler handler) { handler(FileReadResponse().withContentType("x"), nullptr); },
                 [](auto call) { EXPECT_EQ("x", call().getContentType()); });
    EXPECT_EQ(std::future_status::ready,
              files_.readFileAsync(request_).wait_for(std::chrono::seconds(0)));
    EXPECT_EQ(request_, lastRead_);
}

TEST_F(ReadFrame, deliversACompletionFromAnotherThread) {
    std::vector<std::thread> threads;
    forBothForms(
        [&](Handler handler) {
            threads.emplace_back([handler = std::move(handler)] {
                handler(FileReadResponse().withContentType("late"), nullptr);
            });
        },
        [](auto call) { EXPECT_EQ("late", call().getContentType()); });
    for (auto& thread : threads) {
        thread.join();
    }
}

TEST_F(ReadFrame, rethrowsTheVeryExceptionAndDropsTheResponse) {
    const std::exception_ptr error = conflict();
    forBothForms([&](Handler handler) { handler(largeResponse(), error); },
                 [&](auto call) {
                     try {
                         call();
                         ADD_FAILURE() << "no exception";
                     } catch (...) {
                         EXPECT_EQ(error, std::current_exception());
                     }
                 });
}

TEST_F(ReadFrame, reportsADroppedHandlerAsABrokenPromise) {
    forBothForms([](Handler) {},
                 [](auto call) {
                     try {
                         call();
                         ADD_FAILURE() << "no exception";
                     } catch (const std::future_error& error) {
                         EXPECT_EQ(std::future_errc::broken_promise, error.code());
                     }
                 });
}

TEST_F(ReadFrame, keepsTheFirstOfTwoCompletions) {
    forBothForms(
        [](Handler handler) {
            const Handler copy = handler;
            handler(FileReadResponse().withContentType("first"), nullptr);
            for (const auto& again : {handler, copy}) {
                try {
                    again(FileReadResponse().withContentType("second"), nullptr);
                    ADD_FAILURE() << "completed twice";
                } catch (const std::future_error& error) {
                    EXPECT_EQ(std::future_errc::promise_already_satisfied, error.code());
                }
            }
        },
        [](auto call) { EXPECT_EQ("first", call().getContentType()); });
}

TEST_F(ReadFrame, letsThroughWhatTheCallbackFormThrows) {
    forBothForms([](Handler) { throw std::logic_error("refused"); },
                 [](auto call) { EXPECT_THROW(call(), std::logic_error); });
    EXPECT_THROW(files_.readFileAsync(request_), std::logic_error);
}

TEST_F(ReadFrame, movesTheResponseAllTheWay) {
    files_.transport.on<operations::ReadFile>().runs([](FileReadRequest, Handler handler) {
        FileReadResponse response = largeResponse();
        allocations::countLarge = 0;
        handler(std::move(response), nullptr);
    });
    const FileReadResponse response = files_.readFile(request_);
    EXPECT_EQ(0u, allocations::countLarge);
    EXPECT_EQ(large, response.getContentLength());
}

struct Counted {
    int* moves;
    Counted(int* counter) : moves(counter) {}
    Counted(Counted&& other) : moves(other.moves) { ++*moves; }
};

TEST(CallFrame, movesTheResponseOnceIntoThePromiseAndOnceOutOfTheFuture) {
    int moves = 0;
    std::promise<Counted> promise;
    auto future = promise.get_future();
    const auto handler = promiseCompletingHandler(std::move(promise));
    handler(Counted(&moves), nullptr);
    EXPECT_EQ(1, moves);
    const Counted ready = future.get();
    EXPECT_EQ(2, *ready.moves);
}

TEST(CallFrame, copiesTheResponseOnceWhereTheServiceDoes) {
    const std::string watermark(large, 'w');
    const ScriptedNotification changes;
    using Handler = CompletionHandler<FileChangeListResponse>;
    const auto script = [&](auto complete) {
        changes.transport.on<operations::ListFileChanges>().runs(
            [complete](FileChangeListRequest, Handler handler) { complete(std::move(handler)); });
    };
    script([&](Handler handler) {
        FileChangeListResponse response;
        response.withCurrentWatermark(watermark);
        allocations::countLarge = 0;
        handler(std::move(response), nullptr);
        EXPECT_EQ(1u, allocations::countLarge);
        EXPECT_THROW(handler({}, nullptr), std::future_error);
    });
    const auto response = changes.listFileChanges(FileChangeListRequest());
    EXPECT_EQ(watermark, response.getCurrentWatermark());
    script([&](Handler handler) { handler(response, conflict()); });
    EXPECT_THROW(changes.listFileChanges(FileChangeListRequest()), KVXClientException);
    script([](Handler) {});
    EXPECT_THROW(changes.listFileChanges(FileChangeListRequest()), std::future_error);
}

template <class Response>
std::future<Response> ready(Response response) {
    std::promise<Response> promise;
    promise.set_value(std::move(response));
    return promise.get_future();
}

TEST(Versioning, blockingFormsGoThroughTheFutureFormsInForce) {
    struct Replaced : ScriptedVersioning {
        using ScriptedVersioning::listVersions;
        using ScriptedVersioning::restoreVersion;
        std::future<VersionListResponse> listVersionsAsync(VersionListRequest) const override {
            return ready(VersionListResponse().withName(u"replaced"));
        }
        std::future<VersionRestoreResponse> restoreVersionAsync(
            VersionRestoreRequest) const override {
            return ready(VersionRestoreResponse().withVersionId("replaced"));
        }
    };
    EXPECT_EQ(u"replaced", Replaced().listVersions(Resource()).getName());
    EXPECT_EQ("replaced", Replaced().restoreVersion(Resource()).getVersionId());
}

}  // namespace
