#include <fstream>
#include <iterator>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

/// A store that the first version of the schema was made for.
class UpgradeTest : public testing::Test {
protected:
    UpgradeTest() {
        std::ifstream sql(FIRST_SCHEMA);
        raw({std::istreambuf_iterator<char>(sql), {}});
    }

    void raw(const std::string& sql) const { RawDatabase(folder.file("store.db")).run(sql); }

    static std::string version(const Account& account, int label) {
        const auto body =
            account.files->readFile(FileReadRequest({u"/docs/a.txt", u""}).withVersionLabel(label))
                .getResponseBody();
        return {body.begin(), body.end()};
    }

    TemporaryFolder folder;
    const std::string token = "93f49d042b5d0963fdea06cedc1e373b5ca386fbe9cce02d30b95fb742911174";
    const std::string big = std::string(300'000, 'x');
};

TEST_F(UpgradeTest, EverythingIsFoundAgainBeforeAndAfterASweep) {
    const auto store = Store::open(folder.url());
    const Account account(*store, token);
    for (const char* when : {"before", "after"}) {
        EXPECT_EQ(account.list(u"/"), "docs/ big.txt") << when;
        EXPECT_EQ(version(account, 1), "hello") << when;
        EXPECT_EQ(version(account, 2), "hello again") << when;
        EXPECT_EQ(account.get(u"/docs/copy.txt"), big) << when;
        const OpenFile file(account, u"/big.txt");
        file.write(10, "y");
        file.close();
        EXPECT_EQ(account.get(u"/big.txt"), std::string(big).replace(10, 1, "y")) << when;
        EXPECT_EQ(store->verify(), std::vector<std::string>()) << when;
        store->sweep();
    }
    EXPECT_EQ(store->statistics().versions, 4);  // The deleted file is purged.
    // Any statement that finds a content without its checksums would break the constraint.
    raw("create table unconverted(n integer check(n = 0));"
        "insert into unconverted select count(*) from extents where length(checksums) = 0;"
        "insert into unconverted select count(*) from contents where checksum = 0;"
        "insert into unconverted select count(*) from versions where checksum = 0");
}

TEST_F(UpgradeTest, ReadsNoContents) {
    raw("delete from chunks");
    EXPECT_EQ(Store::open(folder.url())->listUsers().size(), 2);
}

TEST_F(UpgradeTest, OldContentsAreCheckedAndDamagedOnesStayDamaged) {
    raw("update chunks set data = zeroblob(length(data)) where id in (1, 4);"
        "update extents set size = 37857 where idx = 1");
    const auto store = Store::open(folder.url());
    const Account account(*store, token);
    for (const char* when : {"before", "after"}) {
        EXPECT_NE(causeOf([&] { account.get(u"/big.txt"); }).find("/big.txt"), std::string::npos);
        EXPECT_NE(causeOf([&] { version(account, 1); }).find("version 1"), std::string::npos);
        EXPECT_EQ(version(account, 2), "hello again") << when;
        EXPECT_EQ(store->verify().size(), 3) << when;
        store->sweep();
    }
}

TEST_F(UpgradeTest, ASweepMakesNoWrongVersionRight) {
    const auto store = Store::open(folder.url());
    const Account account(*store, token);
    account.put(u"/new", big.substr(1));
    raw("update versions set content = 3 where node = (select id from nodes where name = 'new')");
    for (const char* when : {"before", "after"}) {
        EXPECT_EQ(codeOf([&] { account.get(u"/new"); }), Code::INTERNAL_SERVER_ERROR) << when;
        EXPECT_EQ(account.get(u"/big.txt"), big) << when;
        store->sweep();
    }
}

TEST(UpgradeFromTheSecondSchemaTest, BytesThatOnlyADownloadHoldsCountUntilItExpires) {
    const TemporaryFolder folder;
    std::string token;
    std::string location;
    {
        const auto store = Store::open(folder.url());
        token = store->createUser({.name = u"main", .quota = 1'000});
        const Account account(*store, token);
        account.put(u"/f", std::string(600, 'x'));
        location = account.offer(u"/f");
        account.put(u"/f", "new");
    }
    RawDatabase(folder.file("store.db"))
        .run(
            "alter table buckets drop column structure; drop table locks; drop table garbage;"
            "create table garbage(content integer primary key, bucket integer not null default 0,"
            " charge integer not null default 0, held integer not null default 0);"
            "create index garbage_waiting on garbage(content) where held = 0;"
            "insert into garbage select content, bucket, charge, 1 from charges;"
            "drop table charges; update schema_version set n = 2");
    std::chrono::minutes late{};
    const auto store = Store::open(
        folder.url(), {.clock = [&] { return std::chrono::system_clock::now() + late; }});
    const Account account(*store, token);
    EXPECT_EQ(store->listBuckets().front().used, 603U);
    EXPECT_EQ(codeOf([&] { account.put(u"/g", std::string(500, 'x')); }), Code::QUOTA_EXCEEDED);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
    EXPECT_EQ(account.files->downloadFile(FileDownloadRequest(location).withReadIntoString(true))
                  .getStringBody(),
              std::string(600, 'x'));
    late = std::chrono::minutes(16);
    store->sweep();
    EXPECT_EQ(store->listBuckets().front().used, 3U);
    EXPECT_EQ(store->statistics().stored, 3U);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace storage::kvxstore
