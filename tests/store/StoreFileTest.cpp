#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

std::optional<StoreError> openError(const std::string& url,
                                    CreateMode mode = CreateMode::CREATE_IF_MISSING) {
    return storeErrorOf([&] { Store::open(url, {.createMode = mode}); });
}

std::string bytesOf(const std::string& path) {
    if (!std::filesystem::is_regular_file(path)) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(StoreFileTest, RefusesWhatItCannotOpenAndLeavesItAlone) {
    const TemporaryFolder folder;
    std::ofstream(folder.file("text")) << std::string(5000, 't');
    std::ofstream(folder.file("short")) << "x";
    std::ofstream(folder.file("empty"));
    RawDatabase(folder.file("foreign"))
        .run("pragma journal_mode = wal; create table nodes(id); insert into nodes values(1)");
    Store::open(folder.url("store"));
    Store::open(folder.url("newer"));
    RawDatabase(folder.file("newer")).run("update schema_version set n = 99");
    Store::open(folder.url("damaged"));
    std::fstream(folder.file("damaged"), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(100)
        .write(std::string(16'000, '!').data(), 16'000);

    Store::open(folder.url("tableless"));
    RawDatabase(folder.file("tableless")).run("drop table schema_version");
    Store::open(folder.url("cut"));
    std::filesystem::resize_file(folder.file("cut"), 40'000);
    std::filesystem::create_symlink("nowhere", folder.file("dangling"));

    using enum CreateMode;
    using enum StoreErrorCode;
    struct {
        std::string url;
        CreateMode mode;
        StoreErrorCode code;
        std::string message;
    } const cases[] = {
        {folder.url("text"), CREATE_IF_MISSING, NOT_A_STORE, "not a store file: "},
        {folder.url("short"), CREATE_IF_MISSING, NOT_A_STORE, "not a store file: "},
        {folder.url("foreign"), CREATE_IF_MISSING, NOT_A_STORE, "not a store file: "},
        {folder.url("empty"), MUST_EXIST, NOT_A_STORE, "not a store file: "},
        {folder.url(""), CREATE_IF_MISSING, NOT_A_STORE, "Is a directory"},
        {folder.url("."), CREATE_IF_MISSING, NOT_A_STORE, "not a store file: "},
        {folder.url("none"), MUST_EXIST, NOT_FOUND, "No such file or directory"},
        {folder.url("none/store"), CREATE_IF_MISSING, NOT_FOUND, "No such file or directory"},
        {folder.url("text/store"), CREATE_IF_MISSING, NOT_FOUND, "Not a directory"},
        {folder.url("dangling"), CREATE_IF_MISSING, NOT_FOUND, "No such file or directory"},
        {folder.url("store"), MUST_BE_NEW, ALREADY_EXISTS, "there is a file already: "},
        {folder.url("newer"), CREATE_IF_MISSING, NEWER_VERSION, "made by a newer version"},
        {folder.url("damaged"), CREATE_IF_MISSING, DAMAGED, "the store's file is damaged"},
        {folder.url("cut"), CREATE_IF_MISSING, DAMAGED, "the store's file is damaged"},
        {folder.url("tableless"), CREATE_IF_MISSING, DAMAGED, "no such table"},
        {"sqlite::memory:", MUST_EXIST, NOT_FOUND, "a store in memory is always new"},
        {"sqlite:", CREATE_IF_MISSING, ILLEGAL_URL, "the URL names no file: "},
        {"sqlite://host/file", CREATE_IF_MISSING, ILLEGAL_URL, "a file's URL is "},
        {"postgresql://host/db", CREATE_IF_MISSING, ILLEGAL_URL, "PostgreSQL is not served yet: "},
        {"/plain/path", CREATE_IF_MISSING, ILLEGAL_URL, "a store's URL begins with \"sqlite:\": "},
    };
    for (const auto& [url, mode, code, message] : cases) {
        const std::string path = url.substr(url.find("//") == url.npos ? 0 : 9);
        const std::string before = bytesOf(path);
        const auto error = openError(url, mode);
        ASSERT_TRUE(error) << url;
        EXPECT_EQ(error->code(), code) << url;
        EXPECT_NE(std::string(error->what()).find(message), message.npos)
            << url << ": " << error->what();
        EXPECT_EQ(bytesOf(path), before) << url;
    }
    EXPECT_FALSE(std::filesystem::exists(folder.file("none")));
    for (const char* side : {"foreign-wal", "foreign-shm", "text-journal"}) {
        EXPECT_FALSE(std::filesystem::exists(folder.file(side))) << side;
    }
}

TEST(StoreFileTest, RefusesWhatItMayNotReadOrWrite) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("secret"));
    using std::filesystem::perms;
    const auto protect = [&](const std::string& name, unsigned mode) {
        std::filesystem::permissions(folder.file(name), perms(mode));
    };
    for (const auto& [name, mode] : {std::pair("readable", 0444), std::pair("writable", 0666),
                                     std::pair("unreadable", 0222), std::pair("secret/s", 0666)}) {
        Store::open(folder.url(name));
        protect(name, mode);
    }
    protect("secret", 0);
    protect("", 0555);
    const auto tryAll = [&] {
        // Nothing is unwritable for root.
        if (::geteuid() == 0 && ::setuid(65534) != 0) {
            ::_exit(1);
        }
        for (const char* name : {"readable", "writable", "unreadable", "secret/s", "new"}) {
            const auto error = openError(folder.url(name));
            if (!error || error->code() != StoreErrorCode::NOT_WRITABLE) {
                std::cerr << name << ": " << (error ? error->what() : "opened") << '\n';
                ::_exit(2);
            }
        }
        ::_exit(0);
    };
    EXPECT_EXIT(tryAll(), testing::ExitedWithCode(0), "");
    protect("", 0755);
    protect("secret", 0755);
}

TEST(StoreFileTest, FindsEverythingAgainAfterClosing) {
    const TemporaryFolder folder;
    const std::string content(700'000, 'c');
    std::string token;
    {
        const auto store = Store::open(folder.url(), {.createMode = CreateMode::MUST_BE_NEW});
        token = store->createUser({.name = u"main", .emailAddress = u"a@b", .quota = 1'000'000});
        const Account account(*store, token);
        account.makeFolder(u"/d");
        account.put(u"/d/f", content, true);
        account.put(u"/d/f", "two", true);
    }
    EXPECT_FALSE(std::filesystem::exists(folder.file("store.db-wal")));
    EXPECT_EQ(bytesOf(folder.file("store.db")).find(token), std::string::npos);
    const auto store = Store::open(folder.url(), {.createMode = CreateMode::MUST_EXIST});
    const Account account(*store, token);
    EXPECT_EQ(account.get(u"/d/f"), "two");
    EXPECT_EQ(account.put(u"/d/f", "three").getVersionLabel(), 3);
    const User user = store->listUsers().at(0);
    EXPECT_EQ(user.emailAddress, u"a@b");
    EXPECT_EQ(user.used, content.size() + 5);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST(StoreFileTest, OpensAfterACrashAmidACheckpoint) {
    const TemporaryFolder folder;
    const std::string content(600'000, 'c');
    std::string token;
    {
        const auto store = Store::open(folder.url());
        token = store->createUser({.name = u"main"});
        Account(*store, token).put(u"/f", content);
        for (const char* suffix : {"", "-wal"}) {
            std::filesystem::copy_file(folder.file("store.db") + suffix,
                                       folder.file("crashed.db") + suffix);
        }
    }
    // The head counts pages already whose turn to be written had not come.
    constexpr std::streamoff lowByteOfPageCount = 31;
    std::fstream(folder.file("crashed.db"), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(lowByteOfPageCount)
        .put('\xC8');
    const auto store = Store::open(folder.url("crashed.db"));
    EXPECT_TRUE(Account(*store, token).get(u"/f") == content);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST(StoreFileTest, TellsEveryKindOfDamage) {
    struct {
        std::string sql;
        std::string damage;
    } const cases[] = {
        {"delete from users", "buckets without an owner or a root"},
        {"delete from nodes where parent = 0", "buckets without an owner or a root"},
        {"update nodes set parent = 999 where name = 'd'", "outside of every tree"},
        {"update nodes set parent = id where name = 'd'", "outside of every tree"},
        {"update nodes set bucket = 7 where name = 'f'", "in another bucket than their parent"},
        {"update buckets set seq = 1", "newer than their bucket"},
        {"update nodes set size = 5 where name = 'f'", "without their current content"},
        {"delete from versions", "without their current content"},
        {"delete from nodes where name = 'f'", "versions without a file or a content"},
        {"update chunks set data = x'00' where id = 1", "do not make up their size"},
        {"update chunks set data = zeroblob(length(data)) where id = 2", "bytes were changed"},
        {"delete from extents where idx = 0", "parts without a content"},
        {"delete from versions; delete from handles", "no cleaning would find"},
        {"update buckets set used = used + 1", "counted wrong"},
        {"update extents set size = 1 where idx = 0", "do not make up their size"},
        {"update handles set base = 999", "open handles without their content"},
        {"update grants set grantee = 999", "grants without a file, folder or user"},
        {"update invitations set inviter = 999", "invitations to no folder, or by no user"},
        {"delete from grants", "accepted invitations without their right"},
        {"update nodes set shared = 0", "marked wrong as to being shared"},
        {"update policies set node = 999", "policies of no file or folder"},
        {"insert into vacated select parent, name, 1, 1, 1, 0 from nodes where name = 'f'",
         "places left by a node but taken"},
    };
    for (const auto& [sql, damage] : cases) {
        const TemporaryFolder folder;
        const auto store = Store::open(folder.url());
        const Account account(*store, store->createUser({.name = u"main"}));
        account.makeFolder(u"/d");
        account.put(u"/d/f", std::string(600'000, 'f'));
        const OpenFile file(account, u"/d/f");
        account.configuration->setResourcePolicy(
            ResourcePolicySetRequest().withResource({u"/d", u""}));
        const std::string invitation =
            account.sharing->createInvitation(InvitationCreateRequest({u"/d", u""}))
                .getInvitation()
                .getInvitationId();
        Account(*store, store->createUser({.name = u"guest"}))
            .sharing->updateInvitation(InvitationUpdateRequest()
                                           .withInvitationId(invitation)
                                           .withStatus(InvitationStatus::ACCEPTED));
        EXPECT_EQ(store->verify(), std::vector<std::string>());
        RawDatabase(folder.file("store.db")).run(sql);
        std::string found;
        for (const std::string& sentence : store->verify()) {
            found += sentence + '\n';
        }
        EXPECT_NE(found.find(damage), found.npos) << sql << ": " << found;
    }
}

TEST(StoreFileTest, VerifyReportsPagesThatCannotBeRead) {
    const TemporaryFolder folder;
    {
        const auto store = Store::open(folder.url());
        Account(*store, store->createUser({.name = u"main"})).put(u"/f", std::string(600'000, 'f'));
    }
    constexpr int pageSize = 16'384;
    std::fstream(folder.file("store.db"), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(5 * pageSize)
        .write(std::string(pageSize, '!').data(), pageSize);
    const auto store = Store::open(folder.url());
    EXPECT_NE(store->verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace storage::kvxstore
