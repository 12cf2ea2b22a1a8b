// The functions of the guide on coroutines.
#include "coroutines.inc"

#include <gtest/gtest.h>

#include "storage/kvxtesting/FakeStore.h"
#include "storage/kvxtesting/Matchers.h"

namespace {

class CoroutinesGuide : public testing::Test {
protected:
    CoroutinesGuide() { start(ensureFolders(*files, {one, two, one})).get(); }

    const FakeStore store;
    const std::unique_ptr<KVXClient> client = store.user(u"anna");
    const std::unique_ptr<FileAccess> files = client->createFileAccess();
    const Resource one{u"/one", u""};
    const Resource two{u"/one/two", u""};
};

TEST_F(CoroutinesGuide, AwaitsCallsAndStops) {
    EXPECT_FALSE(start(ensureFolder(*files, one)).get());
    EXPECT_TRUE(start(ensureFolder(*files, Resource(u"/one/three", u""))).get());
    EXPECT_EQ(countBoth(*files, one, two), 0U);
    std::stop_source stop;
    EXPECT_EQ(start(countUnlessStopped(*files, one, stop.get_token())).get(), 0U);
    stop.request_stop();
    EXPECT_THAT(start(countUnlessStopped(*files, one, stop.get_token())),
                FailsWith(KVXClientErrorCode::BAD_NETWORK));
    EXPECT_EQ(start(twice<operations::ListFolder>(*files, one)).get().getFolders().size(), 2U);
}

TEST_F(CoroutinesGuide, CompletesTokensOfAsio) {
    FileCreateRequest request(Resource(u"/one/file", u""));
    files->createFile(std::move(request));
    asio::io_context context;
    std::size_t fromHandler = 0;
    countInto(fromHandler, *files, one, context);
    std::size_t stackful = 0;
    asio::spawn(context, [&](asio::yield_context yield) {
        stackful = countStackful(*files, one, std::move(yield));
    });
#ifdef BOOST_ASIO_HAS_CO_AWAIT
    std::size_t awaited = 0;
    asio::co_spawn(context, countOnExecutor(*files, one),
                   [&](const std::exception_ptr&, std::size_t count) { awaited = count; });
#else
    const std::size_t awaited = 1;
#endif
    context.run();
    client->waitForPendingCalls();
    EXPECT_EQ(fromHandler, 1U);
    EXPECT_EQ(stackful, 1U);
    EXPECT_EQ(awaited, 1U);
}

}  // namespace
