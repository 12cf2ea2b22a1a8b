#include "PhotoBackup.h"

#include <storage/kvxtesting/FakeStore.h>
#include <storage/kvxtesting/Matchers.h>
#include <storage/kvxtesting/Mocks.h>
#include <storage/kvxtesting/Recording.h>
#include <storage/kvxtesting/ScriptedTransport.h>

#include <future>

namespace example {
namespace {

using namespace storage::kvxclient;
using namespace storage::kvxtesting;
using namespace std::chrono_literals;
using Code = KVXClientErrorCode;
using storage::kvxtransport::FaultPlan;
namespace operations = storage::kvxtransport::operations;
using ::testing::_;

const std::vector<Photo> photos = {{u"a.jpg", "first"}, {u"b.jpg", "second"}};

/// Options that note how long the backup would have waited.
PhotoBackup::Options options(std::vector<std::chrono::milliseconds>& waits,
                             const std::string& token = "token") {
    PhotoBackup::Options result;
    result.token = token;
    result.wait = [&waits](auto pause) { waits.push_back(pause); };
    return result;
}

/// Against a store: what the application is for.
class PhotoBackupTest : public ::testing::Test {
protected:
    BackupReport back(const std::vector<Photo>& which) {
        return PhotoBackup(*client, options(waits, store.token(u"ada"))).run(which);
    }
    FileReadResponse read(const std::u16string& name) {
        return client->createFileAccess()->readFile(Resource(u"/photos/" + name, u""));
    }

    const FakeStore store;
    const std::shared_ptr<KVXClient> client = store.user(u"ada");
    std::vector<std::chrono::milliseconds> waits;
};

TEST_F(PhotoBackupTest, StoresWhatIsNewAndNumbersWhatIsTaken) {
    EXPECT_EQ(back(photos).stored, 2U);
    const BackupReport second = back({{u"a.jpg", "first"}, {u"b.jpg", "another"}});
    EXPECT_EQ(second.alreadyThere, 1U);
    ASSERT_EQ(second.renamed.size(), 1U);
    EXPECT_EQ(second.renamed[0].second, u"b (2).jpg");
    EXPECT_THAT(read(u"b.jpg"), HasContent("second"));
    EXPECT_THAT(read(u"b (2).jpg"), HasContent("another"));
}

TEST_F(PhotoBackupTest, RenewsItsSession) {
    EXPECT_EQ(back({photos[0]}).stored, 1U);
    store.pass(2h);
    EXPECT_EQ(back(photos).stored, 1U);
}

/// Each fault on the way of one photo: the store must hold it once, and whole.
TEST_F(PhotoBackupTest, StoresOnceWhateverHappensOnTheWay) {
    for (const char* operation :
         {"createFolder", "createReadWriteFileHandle", "writeFileContent", "closeFileHandle"}) {
        for (const bool losesAnswer : {false, true}) {
            const FakeStore fresh;
            const std::shared_ptr<KVXClient> user = fresh.user(u"ada");
            const auto plan = std::make_shared<FaultPlan>();
            plan->add({operation,
                       1,
                       losesAnswer ? std::nullopt : std::optional(Code::BAD_NETWORK),
                       {},
                       losesAnswer});
            const auto spoilt = faulty(user, plan);
            const auto report = PhotoBackup(*spoilt, options(waits)).run({photos[0]});
            EXPECT_EQ(report.stored + report.alreadyThere, 1U) << operation << losesAnswer;
            EXPECT_EQ(plan->fired().size(), 1U);
            EXPECT_THAT(user->createFileAccess()->readFile(Resource(u"/photos/a.jpg", u"")),
                        HasContent("first"));
        }
    }
}

/// With a script: what a store does not do when asked.
TEST(PhotoBackupScriptTest, WaitsLongerEachTimeAndGivesUp) {
    ScriptedClient client;
    client.transport.on<operations::CreateReadWriteFileHandle>().fails(Code::BAD_NETWORK);
    std::vector<std::chrono::milliseconds> waits;
    const auto report = PhotoBackup(client, options(waits)).run(photos);
    EXPECT_THAT(report.failed, ::testing::ElementsAre(std::pair(u"a.jpg", Code::BAD_NETWORK)));
    EXPECT_THAT(waits, ::testing::ElementsAre(100ms, 200ms, 400ms));
}

TEST(PhotoBackupScriptTest, EndsWhenItIsCancelled) {
    ScriptedClient client;
    client.transport.on<operations::WriteFileContent>().whenTold();
    std::vector<std::chrono::milliseconds> waits;
    PhotoBackup backup(client, options(waits));
    auto running = std::async(std::launch::async, [&] { return backup.run(photos); });
    while (client.transport.waiting() == 0) {
        std::this_thread::yield();
    }
    backup.cancel();
    EXPECT_TRUE(running.get().isCancelled);
    EXPECT_TRUE(waits.empty());
}

/// With mocks: a single code decides.
TEST(PhotoBackupMockTest, GoesOnAfterARefusalAndStopsWhenFull) {
    for (const auto& [code, attempted] :
         {std::pair(Code::UNAUTHORIZED, 2), {Code::QUOTA_EXCEEDED, 1}}) {
        ::testing::NiceMock<MockKVXClient> client;
        client.withSessionId("session");
        auto files = std::make_unique<::testing::NiceMock<MockFileAccess>>();
        EXPECT_CALL(*files, createFolder(HasPath(u"/photos"), _)).WillOnce(Fails(Code::CONFLICT));
        EXPECT_CALL(*files, createReadWriteFileHandle).Times(attempted).WillRepeatedly(Fails(code));
        EXPECT_CALL(client, createFileAccess).WillOnce([&] { return std::move(files); });
        std::vector<std::chrono::milliseconds> waits;
        const auto report = PhotoBackup(client, options(waits)).run(photos);
        EXPECT_EQ(report.failed.size(), static_cast<std::size_t>(attempted));
    }
}

/// With a recording: what is asked, and what is not.
TEST(PhotoBackupRecordingTest, LogsInOnceAndSendsContentOnce) {
    const auto recording = std::make_shared<Recording>();
    const auto client = recorded(std::make_shared<ScriptedClient>(), recording);
    std::vector<std::chrono::milliseconds> waits;
    EXPECT_EQ(PhotoBackup(*client, options(waits)).run(photos).stored, 2U);
    EXPECT_EQ(recording->requests<operations::Login>().size(), 1U);
    const auto writes = recording->requests<operations::WriteFileContent>();
    ASSERT_EQ(writes.size(), 2U);
    EXPECT_THAT(writes[1], HasPath(u"/photos/b.jpg"));
    EXPECT_EQ(recording->requests<operations::ReadFile>().size(), 0U);
}

}  // namespace
}  // namespace example
