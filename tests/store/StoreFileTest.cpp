#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>

#include "OwnMounts.h"
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
        {"postgresql://host/db?none=1", CREATE_IF_MISSING, ILLEGAL_URL, "postgresql://"},
        {"/plain/path", CREATE_IF_MISSING, ILLEGAL_URL,
         "a store's URL begins with \"sqlite:\" or "},
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

TEST(StoreFileTest, RefusesWhatItMayNotReadOrMake) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("secret"));
    using std::filesystem::perms;
    const auto protect = [&](const std::string& name, unsigned mode) {
        std::filesystem::permissions(folder.file(name), perms(mode));
    };
    for (const auto& [name, mode] : {std::pair("unreadable", 0222), std::pair("secret/s", 0666)}) {
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
        for (const char* name : {"unreadable", "secret/s", "new"}) {
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

TEST(StoreFileTest, TakesThePathAsItStandsAndKeepsItWhenTheProgramChangesItsFolder) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.file("real"));
    std::filesystem::create_directory_symlink("real", folder.file("link"));
    const auto here = std::filesystem::current_path();
    std::filesystem::current_path(folder.file(""));
    const struct {
        std::string url;
        std::string file;
    } cases[] = {
        {"sqlite:file:x.db", "file:x.db"},
        {"sqlite:file:y.db?mode=memory", "file:y.db?mode=memory"},
        {"sqlite:x?mode=memory#%41", "x?mode=memory#%41"},
        {"sqlite::memory:x", ":memory:x"},
        {"sqlite:link/../link//x.db", "real/x.db"},
        {"sqlite:////" + folder.file("").substr(1) + "//real//y.db", "real/y.db"},
    };
    for (const auto& [url, file] : cases) {
        const auto store = Store::open(url, {.createMode = CreateMode::MUST_BE_NEW});
        std::filesystem::current_path("/");
        Account(*store, store->createUser({.name = u"main"})).put(u"/f", "content");
        std::filesystem::current_path(folder.file(""));
        EXPECT_TRUE(std::filesystem::is_regular_file(file)) << url;
        const auto error = openError(url, CreateMode::MUST_EXIST);
        EXPECT_FALSE(error) << error->what();
    }
    // What a link names is decided when the store is opened.
    const auto store = Store::open("sqlite:link/x.db");
    std::filesystem::remove("link");
    EXPECT_FALSE(storeErrorOf([&] { store->createUser({.name = u"late"}); }));
    std::filesystem::current_path(here);
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
        {"delete from users", "the bucket main has no owner or no root folder"},
        {"delete from nodes where parent = 0", "the bucket guest has no owner or no root folder"},
        {"update nodes set parent = 999 where name = 'd'",
         "a file or folder named d is in no folder of its bucket"},
        {"update nodes set parent = id where name = 'd'",
         "a file or folder named d is below itself"},
        {"update nodes set parent = (select id from nodes where name = 'd') where parent = 0",
         "is below itself"},
        {"update nodes set bucket = 7 where name = 'f'",
         "/d/f in the bucket main of main is in no folder of its bucket"},
        {"update buckets set seq = 1", "/d/f in the bucket main of main is newer than its bucket"},
        {"update nodes set size = 5 where name = 'f'",
         "/d/f in the bucket main of main has no"
         " current content, or has another size"},
        {"delete from versions", "has no current content"},
        {"delete from nodes where name = 'f'", "that is missing has a version, but is no file"},
        {"update chunks set data = x'00' where id = 1",
         "/d/f in the bucket main of main, version 1, the current one: 337856 of 600000 bytes"},
        {"update chunks set data = zeroblob(length(data)) where id = 2",
         "/d/f in the bucket main of main, version 1, the current one: 337856 of 600000 bytes"},
        {"update extents set idx = 7 where idx = 2",
         "/d/f in the bucket main of main, version 1, the current one: 524288 of 600000 bytes"},
        {"delete from extents where idx = 0", "bytes that no content uses"},
        {"delete from versions; delete from handles",
         "a content of 600000 bytes that nothing uses and no cleaning would find"},
        {"update buckets set used = used + 1", "the bucket main counts its bytes in use wrong"},
        {"update extents set size = 1 where idx = 0", "337856 of 600000 bytes"},
        {"update handles set base = 999", "/d/f in the bucket main of main is open without"},
        {"update grants set grantee = 999", "/d in the bucket main of main has a grant to"},
        {"update invitations set inviter = 999", "the inviter is missing"},
        {"delete from grants", "/d in the bucket main of main has an accepted invitation without"},
        {"update nodes set shared = 0", "/d in the bucket main of main is marked wrong"},
        {"update policies set node = 999", "has a policy, but is missing"},
        {"insert into vacated select parent, name, 1, 1, 1, 0 from nodes where name = 'f'",
         "the place f was left by a file or folder but is taken"},
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

/// Ends the process with 0 when a store below a read-only mount was read, and only read.
[[noreturn]] void readFromReadOnlyMount(const std::string& mountPoint, const std::string& url,
                                        const std::string& token) {
    if (!enterOwnMounts() ||
        ::mount(mountPoint.c_str(), mountPoint.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
        ::mount(nullptr, mountPoint.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr)) {
        ::_exit(cannotMount);
    }
    bool good = false;
    {
        const auto store = Store::open(url);
        const Account account(*store, token);
        good = account.get(u"/f") == "content" && store->verify().empty() &&
               causeOf([&] { account.put(u"/f", ""); }).starts_with("the store is read-only");
    }
    ::_exit(good ? 0 : 2);
}

TEST(StoreFileTest, AStoreOnAReadOnlyMountIsServedForReading) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const TemporaryFolder folder;
    std::string token;
    {
        const auto store = Store::open(folder.url());
        token = store->createUser({.name = u"main"});
        Account(*store, token).put(u"/f", "content");
    }
    bool mounted = true;
    const auto succeeded = [&](int status) {
        mounted = !testing::ExitedWithCode(cannotMount)(status);
        return !mounted || testing::ExitedWithCode(0)(status);
    };
    EXPECT_EXIT(readFromReadOnlyMount(folder.file(""), folder.url(), token), succeeded, "");
    if (!mounted) {
        GTEST_SKIP() << "this system lets tests mount nothing";
    }
}

}  // namespace
}  // namespace storage::kvxstore
