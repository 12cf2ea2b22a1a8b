#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>
#include <tuple>

#include "cli/Command.h"
#include "cli/Values.h"
#include "remote/RemoteTree.h"
#include "session/RenewingDispatcher.h"
#include "session/Session.h"
#include "storage/kvxstore/Store.h"
#include "storage/kvxtesting/ScriptedTransport.h"
#include "sync/Sync.h"
#include "transfer/CallWindow.h"
#include "transfer/Download.h"
#include "transfer/Upload.h"
#include "ui/Interruption.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

namespace fs = std::filesystem;
using namespace kvxclient;
using kvxtesting::ScriptedFileAccess;

std::u16string text(const std::string& utf8) { return *toUtf16(utf8); }

// Every folder has the same content, and every file the same bytes.
struct HostileFileAccess : ScriptedFileAccess {
    void listFolder(FolderListRequest,
                    CompletionHandler<FolderListResponse> handler) const override {
        FolderListResponse response;
        response.withFiles(files);
        if (++listings == 1) {
            response.withFolders(folders);
        }
        handler(response, nullptr);
    }
    void readFile(FileReadRequest, CompletionHandler<FileReadResponse> handler) const override {
        FileReadResponse response;
        response.appendContent("content", 7);
        handler(response, nullptr);
    }
    std::vector<FileSummary> files;
    std::vector<FolderSummary> folders;
    mutable int listings = 0;
};

TEST(Download, NamesThatLeadElsewhereAreRefused) {
    const fs::path root = fs::temp_directory_path() / ("kvx-parts-" + std::to_string(getpid()));
    fs::create_directories(root / "outside");
    fs::create_directories(root / "target");
    fs::create_directory_symlink(root / "outside", root / "target" / "link");

    HostileFileAccess files;
    files.files.emplace_back(u"good");
    for (const std::u16string name :
         {u"..", u".", u"", u"../evil", u"/evil", u"a/../../evil", u"x/"}) {
        files.files.emplace_back(name);
        files.folders.emplace_back(name);
    }
    files.files.emplace_back(std::u16string(u"evil\0x", 6));
    files.files.emplace_back(std::u16string(1, char16_t(0xD800)));
    files.folders.insert(files.folders.end(), {FolderSummary(u"link"), FolderSummary(u"sub")});

    Diagnostics diagnostics("get", true);
    Download download(files, diagnostics);
    testing::internal::CaptureStderr();
    download.addTree(RemoteName::parse(":/"), root / "target");
    download.run();
    testing::internal::GetCapturedStderr();

    std::set<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        found.insert(entry.path().lexically_relative(root));
    }
    const std::set<std::string> expected = {"outside",     "target",     "target/good",
                                            "target/link", "target/sub", "target/sub/good"};
    EXPECT_EQ(found, expected);
    EXPECT_NE(diagnostics.exitCode(), ExitCode::OK);
    fs::remove_all(root);
}

TEST(Diagnostics, TheFewThatAreNamedAreThoseOfAPass) {
    Diagnostics diagnostics("sync", true);
    testing::internal::CaptureStderr();
    for (const std::string pass : {"1-", "2-"}) {
        diagnostics.beginPass();
        for (int file = 0; file < 20; ++file) {
            diagnostics.fail({ExitCode::NO_ROOM, pass + std::to_string(file), "full"});
        }
    }
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 2 * 11) << said;
    EXPECT_NE(said.find("kvx: sync: 2-9: full\n"), std::string::npos) << said;
    EXPECT_EQ(diagnostics.failures(), 40U);
}

TEST(Transfer, SaysHowFarItCameWhenTheSessionEnds) {
    const fs::path root = fs::temp_directory_path() / ("kvx-ended-" + std::to_string(getpid()));
    fs::create_directories(root);
    int calls = 0;
    int last = 29;
    const auto outcome = [&] {  // One call finds it out before others that were made earlier.
        return ++calls == 3 || calls > last
                   ? std::make_exception_ptr(SessionEnded(ExitCode::REFUSED, "store", "logged out"))
                   : nullptr;
    };
    namespace operations = kvxtransport::operations;
    ScriptedFileAccess files;
    files.transport.on<operations::ReadFile>().runs([&](const auto&, const auto& handler) {
        FileReadResponse response;
        response.appendContent("content", 7);
        handler(response, outcome());
    });
    files.transport.on<operations::CreateFile>().runs(
        [&](const auto&, const auto& handler) { handler({}, outcome()); });
    files.transport.on<operations::ReadFileAttributes>().runs([](const auto&, const auto& handler) {
        FileAttributes attributes;
        handler(FileAttributesReadResponse().withFileAttributes(attributes.withType("FOLDER")),
                nullptr);
    });

    testing::internal::CaptureStderr();
    Diagnostics diagnostics("it", true);
    Download download(files, diagnostics);
    for (int i = 0; i < 40; ++i) {
        const std::string name = std::to_string(i);
        download.addFile(RemoteName::parse(":/" + name), {}, root / name);
    }
    EXPECT_THROW(download.run(), SessionEnded);
    calls = 0;
    last = 10;
    Upload upload(files, diagnostics);
    upload.addTree(root, RemoteName::parse(":/"));
    EXPECT_THROW(upload.run(), SessionEnded);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "kvx: it: in all: 28 of 40 files were fetched, 196 bytes\n"
              "kvx: it: in all: 9 of 28 files were sent, 63 bytes\n");

    calls = 0;
    testing::internal::CaptureStdout();
    SyncOptions options;
    options.source = root;
    options.target = ":/";
    Sync sync(files, Output(false, false, false), diagnostics, options);
    EXPECT_THROW(sync.run(), SessionEnded);
    std::cout.flush();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "9 files sent, 0 deleted, 0 unchanged\n");
    fs::remove_all(root);
}

TEST(Upload, AnInterruptedOneLeavesTheOldContentAndNoHandle) {
    const auto store = kvxstore::Store::open("sqlite::memory:");
    kvxstore::NewUser user;
    user.name = u"ada";
    const auto client = store->createClient();
    LoginRequest login;
    login.withToken(store->createUser(user));
    client->withSessionId(client->login(login).getSessionId());
    const auto files = client->createFileAccess();
    FileCreateRequest old(Resource(u"/file", u""));
    old.appendContent("old", 3);
    files->createFile(old);

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::thread writer([end = ends[1]] {
        const std::string piece(std::size_t{9} << 20U, 'x');
        EXPECT_EQ(write(end, piece.data(), piece.size()), ssize_t(piece.size()));
        EXPECT_TRUE(Interruption::request(SIGINT));
        EXPECT_EQ(write(end, piece.data(), piece.size()), ssize_t(piece.size()));
        close(end);
    });
    Diagnostics diagnostics("put", true);
    LocalInput input("/dev/fd/" + std::to_string(ends[0]));
    testing::internal::CaptureStderr();
    EXPECT_THROW(Upload(*files, diagnostics).send(input, RemoteName::parse(":/file")), Interrupted);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "kvx: put: interrupted: 0 of 1 file was sent, 0 bytes\n");
    std::string rest(std::size_t{9} << 20U, ' ');
    input.read(rest.data(), rest.size());
    writer.join();
    close(ends[0]);

    EXPECT_EQ(store->statistics().handles, 0U);
    EXPECT_EQ(store->statistics().used, 3U);
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

// Without an unsigned limit "+16777216T" would be 0 bytes, and everything larger.
TEST(Values, SizesAreReadOrRefused) {
    const std::pair<const char*, unsigned long> good[] = {
        {"0", 0},
        {"512", 512},
        {"4K", 4096},
        {"10G", 10UL << 30U},
        {"7E", 7UL << 60U},
        {"8388607T", 8388607UL << 40U},
        {"9223372036854775807", 9223372036854775807UL}};
    for (const auto& [typed, bytes] : good) {
        EXPECT_EQ(parseSize(typed, typed, "1K"), bytes) << typed;
    }
    const std::pair<const char*, const char*> bad[] = {
        {"", "not a size: write 1K"},
        {"K", "not a size: write 1K"},
        {"-5", "not a size: write 1K"},
        {"10Q", "not a size: write 1K"},
        {"10KM", "not a size: write 1K"},
        {"1.5G", "not a size: write 1K"},
        {"8E", "the size is too large: it must be less than 8E"},
        {"16777216T", "the size is too large: it must be less than 8E"},
        {"9223372036854775808", "the size is too large: it must be less than 8E"},
        {"99999999999999999999", "the size is too large: it must be less than 8E"},
        {"99999999999999999999Q", "not a size: write 1K"}};
    for (const auto& [typed, words] : bad) {
        try {
            parseSize(typed, typed, "1K");
            ADD_FAILURE() << typed;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), ExitCode::USAGE) << typed;
            EXPECT_EQ(failure.subject() + failure.what(), std::string(typed) + words);
        }
    }
}

TEST(Values, TimesBeyondWhatAClockHoldsAreRefusedOrTheLast) {
    EXPECT_EQ(parseTime("9999-12-31"), std::chrono::system_clock::time_point::max());
    EXPECT_LT(parseTime("15000w"), parseTime("1900-01-01"));
    for (const char* bad : {"99999999999999999w", "20000w", "7", "7x", "2026-02-31", ""}) {
        EXPECT_THROW(parseTime(bad), Failure) << bad;
    }
}

TEST(Option, RefusesValuesInItsOwnWords) {
    const Option jobs = option("-j,--jobs", "N", "").inRange(1, 1024);
    const Option interval = option("--interval", "SECONDS", "").inRange(0.01, 86400.0);
    const Option color = option("--color", "WHEN", "").oneOf({"auto", "never"});
    const std::tuple<const Option*, const char*, const char*> cases[] = {
        {&jobs, "1", ""},
        {&jobs, "1024", ""},
        {&jobs, "0", "0 is not a number from 1 to 1024"},
        {&jobs, "1025", "1025 is not a number from 1 to 1024"},
        {&jobs, "3x", "3x is not a number from 1 to 1024"},
        {&jobs, "99999999999999999999", "99999999999999999999 is not a number from 1 to 1024"},
        {&interval, "0.01", ""},
        {&interval, "0.001", "0.001 is not a number from 0.01 to 86400"},
        {&interval, "nan", "nan is not a number from 0.01 to 86400"},
        {&color, "auto", ""},
        {&color, "aut", "aut is none of auto,never"}};
    for (const auto& [option, typed, words] : cases) {
        EXPECT_EQ(option->refusal(typed), words);
    }
}

TEST(SessionRenewal, LogsInOnceForAllCallsThatFindTheSessionOver) {
    const fs::path root = fs::temp_directory_path() / ("kvx-session-" + std::to_string(getpid()));
    fs::create_directories(root);
    setenv("XDG_STATE_HOME", root.c_str(), 1);
    unsetenv("KVX_TOKEN");
    const StoreLocation location = StoreLocation::find(root / "store.db");
    const LoginFile file(location.url());
    kvxstore::StoreOptions options;
    options.faults = std::make_shared<kvxstore::FaultPlan>();
    options.faults->add({.operation = "login", .call = 3, .error = KVXClientErrorCode::UNKNOWN});
    const auto store = kvxstore::Store::open(location.url(), options);
    kvxstore::NewUser user;
    user.name = u"ada";
    const std::string token = store->createUser(user);
    keepLogin(*store->createClient(), location, token);
    const auto endSession = [&] {
        const auto other = store->createClient();
        other->withSessionId(file.read().value().sessionId).logout({});
    };

    SessionRenewal renewal(location, store->createClient());
    const std::string before = renewal.sessionId();
    const auto files =
        kvxtransport::DispatchingClient("", RenewingDispatcher(renewal)).createFileAccess();
    endSession();
    std::vector<std::future<FileWriteResponse>> calls;
    for (int i = 0; i < 200; ++i) {
        FileCreateRequest request(Resource(u"/" + text(std::to_string(i)), u""));
        request.appendContent("content", 7);
        calls.push_back(files->createFileAsync(std::move(request)));
    }
    for (auto& call : calls) {
        EXPECT_EQ(call.get().getVersionLabel(), 1);
    }
    EXPECT_EQ(store->statistics().used, 200U * 7);
    EXPECT_TRUE(options.faults->fired().empty());  // There was a second login, and no third one.
    EXPECT_NE(renewal.sessionId(), before);
    EXPECT_EQ(renewal.sessionId(), file.read().value().sessionId);

    // A handle may be lost with the session, while the file is still there.
    FileContentReadRequest read(Resource(u"/0", u""));
    read.withFileHandleId("lost").withLength(7);
    endSession();
    EXPECT_THROW(files->readFileContent(read), SessionEnded);  // The third login fails.
    try {
        files->readFileContent(read);
        ADD_FAILURE();
    } catch (const KVXClientException& error) {
        EXPECT_EQ(Failure::of("", std::make_exception_ptr(error)).code(), ExitCode::REFUSED);
    }

    endSession();
    file.remove();
    EXPECT_THROW(files->readFile({Resource(u"/0", u"")}), SessionEnded);
    fs::remove_all(root);
}

// What is called "there" exists and is a folder, and "file" is a file.
TEST(RemoteTarget, IsLookedUpOnce) {
    ScriptedFileAccess files;
    files.transport.on<kvxtransport::operations::ReadFileAttributes>().runs(
        [](FileAttributesReadRequest request,
           CompletionHandler<FileAttributesReadResponse> handler) {
            const std::u16string path = request.getResource().getPath();
            FileAttributes attributes;
            attributes.withType(path.ends_with(u"file") ? "FILE" : "FOLDER");
            const bool exists = path == u"/" || path.ends_with(u"there") || path.ends_with(u"file");
            handler(FileAttributesReadResponse().withFileAttributes(attributes),
                    exists ? nullptr
                           : std::make_exception_ptr(
                                 KVXClientException(KVXClientErrorCode::RESOURCE_NOT_FOUND)));
        });
    const std::tuple<const char*, std::size_t, const char*> cases[] = {
        {":/there", 1, ":/there/x"},       {":/file", 1, ":/file"},       {":/new", 1, ":/new"},
        {":/there/new", 2, ":/there/new"}, {"team:/new", 2, "team:/new"}, {":/", 1, ":/x"}};
    for (const auto& [name, lookups, target] : cases) {
        files.transport.clear();
        const RemoteTarget found(files, RemoteName::parse(name), false);
        EXPECT_EQ(files.transport.reached().size(), lookups) << name;
        EXPECT_EQ(found.nameFor(u"x").text(), target);
    }
    for (const char* missing : {":/none/new", ":/new/", "team:/none/new"}) {
        EXPECT_THROW(RemoteTarget(files, RemoteName::parse(missing), false), Failure) << missing;
    }
}

TEST(CallWindow, BoundsCallsAndBytes) {
    CallWindow<int> window(64);
    int completed = 0;
    const auto add = [&](std::size_t bytes) {
        std::promise<int> promise;
        promise.set_value(completed);
        window.add(
            promise.get_future(), [&](auto&) { ++completed; }, bytes);
    };
    for (int i = 0; i < 100; ++i) {
        add(0);
    }
    EXPECT_EQ(completed, 100 - 64);
    window.drain();
    EXPECT_EQ(completed, 100);

    add(9 << 20);
    add(7 << 20);
    EXPECT_EQ(completed, 100);
    add(1);
    EXPECT_EQ(completed, 101);
    add(100 << 20);
    EXPECT_EQ(completed, 103);
    add(0);
    EXPECT_EQ(completed, 104);
}

TEST(Text, ConvertsExactlyWhatIsUtf8) {
    for (const char* good :
         {"", "a", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
          "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "a\xF0\x9F\x98\x80z"}) {
        const auto converted = toUtf16(good);
        ASSERT_TRUE(converted) << good;
        EXPECT_EQ(toUtf8(*converted), good);
    }
    for (const char* bad : {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2x", "\xE0\x9F\xBF",
                            "\xED\xA0\x80", "\xED\xBF\xBF", "\xE2\x82", "\xF0\x8F\xBF\xBF",
                            "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "a\xE2(\xA1"}) {
        EXPECT_FALSE(toUtf16(bad)) << escaped(bad);
    }
    EXPECT_EQ(text("\xF0\x9F\x98\x80"), u"\U0001F600");
}

TEST(Text, EscapesWhatTricksATerminal) {
    EXPECT_EQ(escaped("a b\\\xC3\xA4\xF0\x9F\x98\x80"), "a b\\\xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_EQ(escaped("\n\t\r\x1b\x7f\xC2\x9B\xFF"), "\\n\\t\\x0d\\x1b\\x7f\\xc2\\x9b\\xff");
    EXPECT_EQ(escaped("\xE2\x80\xAE"), "\\xe2\\x80\\xae");  // Text after it would run backwards.
}

TEST(Text, SizesForPeopleStayShort) {
    const std::pair<unsigned long, const char*> cases[] = {
        {0, "0"},          {1023, "1023"},       {1024, "1.0K"},    {1536, "1.5K"},
        {10188, "9.9K"},   {10240, "10K"},       {1022976, "999K"}, {1023487, "999K"},
        {1048064, "1.0M"}, {1UL << 30U, "1.0G"}, {~0UL, "16E"}};
    for (const auto& [size, expected] : cases) {
        EXPECT_EQ(humanSize(size), expected) << size;
    }
}

// "d:/" is a folder, "d:?" one that could not be listed, "l:@" a link, "f:1,5" a file of size 1 and
// time 5, "f:1,5*" one whose time is the store's own.
SyncTree tree(const std::string& words) {
    SyncTree result;
    std::istringstream stream(": " + words);
    for (std::string word; stream >> word;) {
        const std::size_t colon = word.find(':');
        const std::string text = word.substr(colon + 1);
        SyncEntry& entry = result[word.substr(0, colon)];
        if (const std::size_t comma = text.find(','); comma != text.npos) {
            const std::chrono::nanoseconds time(std::stoi(text.substr(comma + 1)));
            entry = {SyncEntry::Kind::FILE, std::stoul(text),
                     std::chrono::system_clock::time_point(time), !text.ends_with('*'), true};
        } else {
            entry.kind = text == "@" ? SyncEntry::Kind::LINK : SyncEntry::Kind::FOLDER;
            entry.complete = text != "?";
        }
    }
    return result;
}

std::string text(const SyncPlan& plan) {
    std::string result;
    const auto add = [&](char sign, const auto& steps) {
        for (const auto& step : steps) {
            result += sign + step.path + ' ';
        }
    };
    add('-', plan.deletions);
    add('+', plan.folders);
    add('>', plan.transfers);
    add('?', plan.comparisons);
    add('!', plan.conflicts);
    return result + std::to_string(plan.unchanged);
}

TEST(SyncPlan, FollowsFromTheTrees) {
    const std::array<const char*, 4> cases[] = {
        {"a:1,5 d:/ d/e:/ d/e/f:0,0", "", "+d +d/e >a >d/e/f 0", "+d +d/e >a >d/e/f 0"},
        {"a:1,5 b:1,5 c:1,-5", "a:1,5 b:2,5 c:1,5", ">b >c 1", ">b >c 1"},
        {"a:1,0 b:1,0 c:1,9", "a:1,7* b:1,7 c:1,7*", ">b >c 1", ">b >c 1"},
        {"", "a:1,5 d:/ d/e:/ d/e/f:1,5", "0", "-d/e/f -d/e -d -a 0"},
        {"d:/ d-x:1,5", "d:/ d/a:1,1 d-x:1,5", "1", "-d/a 1"},
        // What the source could not list or leaves out is not deleted.
        {"d:? l:@", "d:/ d/a:1,5 l:/ l/b:1,5 x:1,5", "0", "-x 0"},
        // What the target leaves out or could not list stays, and with it what holds it.
        {"", "d:/ d/a:1,5 d/l:@ e:? l:@", "0", "-d/a 0"},
        // Of different kinds: it takes the place, with all that is in it, or none of it.
        {"x:1,5", "x:/ x/y:/ x/y/z:1,5", "!x 0", "-x/y/z -x/y -x >x 0"},
        {"x:/ x/y:1,5 z:1,5", "x:@ z:@", "!x !z 0", "-z -x +x >x/y >z 0"},
        {"x:1,5", "x:/ x/a:1,5 x/l:@ x/y:/ x/y/z:1,5", "!x 0", "!x 0"},
        {"x:1,5", "x:/ x/y:?", "!x 0", "!x 0"},
    };
    for (const auto& [source, target, plan, deletingPlan] : cases) {
        SCOPED_TRACE(source);
        EXPECT_EQ(text(planSync(tree(source), tree(target), {})), plan);
        EXPECT_EQ(text(planSync(tree(source), tree(target), {.deletes = true})), deletingPlan);
    }
    using namespace std::chrono_literals;
    const std::pair<SyncRules, const char*> rules[] = {
        {{.byContent = true}, ">b >d >e ?a ?c 0"},
        {{.keepsNewer = true}, ">c >d >e 2"},
        {{.byContent = true, .keepsNewer = true}, ">d >e ?c 2"},
        {{.keepsNewer = true, .window = 1ns}, ">b >d >e 2"},
        {{.keepsExisting = true}, ">e 4"},
        {{.bySizeOnly = true}, ">b >d >e 2"},
        {{.window = 3ns}, ">a >b >d >e 1"},
        {{.window = 4ns}, ">b >d >e 2"},
    };
    for (const auto& [rule, plan] : rules) {
        EXPECT_EQ(text(planSync(tree("a:1,5 b:1,8 c:1,5 d:1,9 e:1,5"),
                                tree("a:1,9 b:2,9 c:1,4 d:2,8"), rule)),
                  plan);
    }
}

}  // namespace
}  // namespace storage::kvxtool
