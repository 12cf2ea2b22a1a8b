#include <fstream>
#include <limits>
#include <map>
#include <random>

#include "Soak.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using Texts = std::vector<std::string>;

/// Texts that are nothing, and some that are nearly the sound one.
Texts rubbish(const std::string& sound, std::mt19937& random) {
    Texts texts{"x",
                "0",
                "-1",
                "18446744073709551616",
                "' or '1'='1",
                "../../etc/passwd",
                "%00%ff",
                std::string(1, '\0'),
                "\xff\xfe\xed\xa0\x80",
                std::string(1UL << 20U, 'a'),
                sound + sound,
                sound + '\0',
                sound + ' ',
                ' ' + sound,
                sound.substr(1),
                sound.substr(0, sound.size() - 1)};
    for (unsigned i = longOrShort(5'000U, 30U); i > 0; --i) {
        std::string text = sound;
        text[random() % text.size()] = static_cast<char>(random());
        if (text != sound) {
            texts.push_back(text);
        }
    }
    return texts;
}

TEST_F(StoreTest, RubbishIsRefusedWithTheFittingCode) {
    account.makeFolder(u"/d");
    account.put(u"/f", "content");
    const Resource file(u"/f", u"");
    const Resource none(u"", u"");
    const OpenFile open(account, u"/f");
    const std::string location =
        account.files->createFileDownload(FileDownloadCreateRequest(file)).getLocation();
    const std::string secret = location.substr(0, location.rfind('/'));
    const std::string invitation =
        account.sharing->createInvitation(InvitationCreateRequest({u"/d", u""}))
            .getInvitation()
            .getInvitationId();
    const std::string versionId =
        account.versioning->listVersions(VersionListRequest(file)).getVersions()[0].getVersionId();
    const std::string watermark =
        account.notification->listFileChanges(FileChangeListRequest()).getCurrentWatermark();
    const std::string session = account.client->getSessionId();
    const auto handle = [](const std::string& id) {
        return FileContentReadRequest({u"", u""}).withFileHandleId(id).withLength(9);
    };
    struct {
        std::string what;
        std::string sound;
        std::function<void(const std::string&)> action;
        Code code;
        std::optional<Code> codeOfEmpty;
    } const doors[] = {
        {"token", token,
         [&](const std::string& text) { account.client->login(LoginRequest().withToken(text)); },
         Code::INVALID_TOKEN, Code::INVALID_TOKEN},
        {"session", session,
         [&](const std::string& text) {
             account.client->withSessionId(text);
             account.stat(u"/f");
         },
         Code::INVALID_SESSION_ID, Code::UNAUTHORIZED},
        {"handle to read", open.id,
         [&](const std::string& text) { account.files->readFileContent(handle(text)); },
         Code::RESOURCE_NOT_FOUND, Code::RESOURCE_NOT_FOUND},
        {"handle to write", open.id,
         [&](const std::string& text) {
             account.files->writeFileContent(
                 FileContentWriteRequest({u"", u""}).withFileHandleId(text));
         },
         Code::RESOURCE_NOT_FOUND, Code::RESOURCE_NOT_FOUND},
        {"handle to close", 'x' + open.id + 'x',
         [&](const std::string& text) {
             account.files->closeFileHandle(
                 FileHandleCloseRequest({u"", u""}).withFileHandleId(text));
         },
         Code::RESOURCE_NOT_FOUND, Code::RESOURCE_NOT_FOUND},
        {"version", versionId,
         [&](const std::string& text) {
             account.files->readFile(FileReadRequest(file).withVersionId(text));
         },
         Code::RESOURCE_NOT_FOUND, std::nullopt},
        {"version to restore", versionId,
         [&](const std::string& text) {
             account.versioning->restoreVersion(VersionRestoreRequest(file).withVersionId(text));
         },
         Code::RESOURCE_NOT_FOUND, std::nullopt},
        {"location", secret,
         [&](const std::string& text) {
             account.files->downloadFile(FileDownloadRequest(text).withReadIntoString(true));
         },
         Code::RESOURCE_NOT_FOUND, Code::RESOURCE_NOT_FOUND},
        {"watermark", 'x' + watermark + 'x',
         [&](const std::string& text) {
             account.notification->listFileChanges(FileChangeListRequest().withWatermark(text));
         },
         Code::RESOURCE_NOT_FOUND, std::nullopt},
        {"invitation", invitation,
         [&](const std::string& text) {
             account.sharing->getInvitationDetails(
                 InvitationDetailsRequest().withInvitationId(text));
         },
         Code::RESOURCE_NOT_FOUND, Code::RESOURCE_NOT_FOUND},
        {"invitation to delete", 'x' + invitation + 'x',
         [&](const std::string& text) {
             account.sharing->deleteInvitation(InvitationDeleteRequest().withInvitationId(text));
         },
         Code::RESOURCE_NOT_FOUND, Code::RESOURCE_NOT_FOUND},
    };
    std::mt19937 random(seed());
    for (const auto& [what, sound, action, code, codeOfEmpty] : doors) {
        for (const std::string& text : rubbish(sound, random)) {
            EXPECT_EQ(codeOf([&, &act = action] { act(text); }), code)
                << what << ": " << testing::PrintToString(text.substr(0, 100));
        }
        EXPECT_EQ(codeOf([&, &act = action] { act({}); }), codeOfEmpty) << what << ": empty";
        account.client->withSessionId(session);
    }
    EXPECT_EQ(account.get(u"/f"), "content");
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(StoreTest, OffsetsNearTheEndOfNumbersAreRefusedOrEmpty) {
    account.put(u"/f", "content");
    const OpenFile file(account, u"/f");
    for (const unsigned bits : {31U, 32U, 62U, 63U, 64U}) {
        const unsigned long end = bits == 64 ? 0 : 1UL << bits;
        for (unsigned long offset = end - 2; offset != end + 2; ++offset) {
            const bool wraps = bits == 64 && offset < 2;
            for (const unsigned long length : {1UL, 2UL, end - 1, 0 - offset, ~0UL}) {
                EXPECT_EQ(file.read(offset, length),
                          wraps ? std::string("content").substr(offset, length) : "")
                    << offset << ' ' << length;
            }
            const bool fits = wraps || bits < 40;
            for (const char* bytes : {"", "xy"}) {
                EXPECT_EQ(codeOf([&] { OpenFile(account, u"/f").write(offset, bytes); }),
                          fits ? std::nullopt : std::optional(Code::FILE_TOO_LARGE))
                    << offset;
            }
        }
    }
    EXPECT_EQ(account.get(u"/f"), "content");
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

/// The files of the store to damage: small ones, and some of several blocks.
std::map<std::u16string, std::string> filesToDamage() {
    std::map<std::u16string, std::string> files;
    for (char16_t name = u'a'; name < u'z'; ++name) {
        std::string content;
        for (unsigned long i = 0; content.size() < name * 1000UL; ++i) {
            content += static_cast<char>(name) + std::to_string(i);
        }
        files[std::u16string(u"/") + name] = content.substr(0, 1 + name % 7);
        files[std::u16string(u"/folder/") + name] = std::move(content);
    }
    return files;
}

/// Whether a read by either way gives something else than the content. A failure is no lie.
bool liesAbout(const Account& account, const std::u16string& path, const std::string& content,
               bool& unsound) {
    bool lie = false;
    const auto whole = codeOf([&] { lie = account.get(path) != content; });
    const auto range = codeOf([&] {
        const unsigned long start = content.size() / 2;
        if (start < 1'000) {
            return;
        }
        lie = OpenFile(account, path).read(start, 1'000) != content.substr(start, 1'000) || lie;
    });
    unsound = unsound || whole || range;
    return lie;
}

/// What calls find in a store: the names of the files, and of those with wrong bytes.
std::string tour(const std::string& url, const std::string& token, bool& unsound,
                 std::string& lies) {
    std::string found;
    try {
        const auto store = Store::open(url);
        unsound = !store->verify().empty();
        const auto code = codeOf([&] {
            const Account account(*store, token);
            found = account.list(u"/") + account.list(u"/folder");
            for (const auto& [path, content] : filesToDamage()) {
                if (liesAbout(account, path, content, unsound)) {
                    lies += Resource(u"", path).getUTF8Bucket() + ' ';
                }
            }
            account.put(u"/new", std::string(300'000, 'n'));
            account.move(u"/folder", u"/renamed");
            account.removeFolder(u"/renamed", true);
            store->sweep();
        });
        unsound |= code.has_value();
    } catch (const StoreError&) {
        unsound = true;
    }
    return found;
}

TEST(DamageTest, ADamagedFileIsToldAndCrashesNothing) {
    const TemporaryFolder folder;
    std::string token;
    {
        const auto store = Store::open(folder.url());
        token = store->createUser({.name = u"main"});
        const Account account(*store, token);
        account.makeFolder(u"/folder");
        for (const auto& [path, content] : filesToDamage()) {
            account.put(path, content);
        }
    }
    std::ifstream in(folder.file("store.db"), std::ios::binary);
    const std::string sound{std::istreambuf_iterator<char>(in), {}};
    constexpr std::size_t page = 16'384;
    std::mt19937 random(seed());
    const auto noise = [&](std::size_t size) {
        std::string bytes(size, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        return bytes;
    };
    const auto write = [&](const std::string& bytes) {
        for (const char* side : {"copy", "copy-wal", "copy-shm"}) {
            std::filesystem::remove(folder.file(side));
        }
        std::ofstream(folder.file("copy"), std::ios::binary) << bytes;
    };
    write(sound);
    bool unsound = false;
    std::string lies;
    const std::string whole = tour(folder.url("copy"), token, unsound, lies);
    ASSERT_FALSE(unsound);
    unsigned told = 0;
    const unsigned rounds = longOrShort(500U, 40U);
    for (unsigned round = 0; round < rounds; ++round) {
        std::string bytes = sound;
        const std::size_t pages = bytes.size() / page;
        // Where the tables' roots are as well, and not only in the contents.
        const std::size_t start = page * (random() % 2 == 0 ? random() % pages : random() % 40);
        switch (random() % 4) {
            case 0:
                bytes.replace(start, page, noise(page));
                break;
            case 1:
                bytes.replace(start, page, page, '\0');
                break;
            case 2:
                bytes.replace(start + random() % (page - 64), 64, noise(64));
                break;
            default:
                bytes.resize(random() % bytes.size());
        }
        write(bytes);
        const std::string found = tour(folder.url("copy"), token, unsound, lies);
        told += unsound ? 1 : 0;
        ASSERT_EQ(lies, "") << "round " << round;
        EXPECT_TRUE(unsound || found == whole) << "round " << round << ": " << found;
    }
    EXPECT_GT(told, rounds / 4);
    report("damage") << rounds << " damaged files, " << told << " told, the others found whole\n";
}

}  // namespace
}  // namespace storage::kvxstore
