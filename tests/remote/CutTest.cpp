#include <sstream>

#include "RemoteFixture.h"

namespace storage::kvxremote {
namespace {

using namespace std::chrono_literals;

std::string pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i * 31 + i / 251);
    }
    return bytes;
}

std::string contentOf(const std::vector<char>& bytes) { return {bytes.begin(), bytes.end()}; }

/// A connection may break anywhere; a call has one effect, and its answer is that of this effect.
class CutTest : public RemoteTest {
protected:
    std::string get(const RemoteUser& user, const std::u16string& path) {
        return contentOf(
            user.files->readFile(FileReadRequest(Resource(path, u""))).getResponseBody());
    }

    std::size_t versionsOf(const RemoteUser& user, const std::u16string& path) {
        return user.versioning->listVersions(VersionListRequest(Resource(path, u"")))
            .getVersions()
            .size();
    }
};

TEST_F(CutTest, AnUploadThatIsCutIsRepeatedAndStoredOnce) {
    const RemoteUser user(url(), token);
    constexpr int parts = 20;
    for (int part = 0; part <= parts; ++part) {
        const std::u16string path = u"/f" + std::u16string(1, char16_t(u'a' + part));
        const std::string content = pattern(700'000 + part);
        const unsigned before = proxy.cuts();
        proxy.cutAfter(static_cast<std::int64_t>(content.size()) * part / parts + 1, Proxy::never);
        FileCreateRequest request = createRequest(path, content);
        const FileWriteResponse response =
            user.files->createFile(request.withCreateNewVersion(true));
        EXPECT_EQ(proxy.cuts(), before + 1);
        EXPECT_EQ(response.getFileSummary().getSize(), content.size());
        EXPECT_EQ(versionsOf(user, path), 1U) << part;
        EXPECT_TRUE(get(user, path) == content) << part;
    }
    EXPECT_EQ(store->verify(), std::vector<std::string>());
}

TEST_F(CutTest, ADownloadGivesEachByteOnce) {
    const RemoteUser user(url(), token);
    const std::string content = pattern(1'500'000);
    user.files->createFile(createRequest(u"/f", content));
    const std::string location =
        user.files->createFileDownload(FileDownloadCreateRequest(Resource(u"/f", u"")))
            .getLocation();
    for (int part = 0; part < 20; ++part) {
        std::stringbuf got;
        FileDownloadRequest request(location);
        request.withStreamFactory([&] { return std::make_unique<std::iostream>(&got); });
        const unsigned before = proxy.cuts();
        proxy.cutAfter(Proxy::never, static_cast<std::int64_t>(content.size()) * part / 20 + 1);
        user.files->downloadFile(std::move(request));
        EXPECT_EQ(proxy.cuts(), before + 1);
        EXPECT_TRUE(got.str() == content) << part;

        proxy.cutAfter(Proxy::never, static_cast<std::int64_t>(content.size()) * part / 20 + 1);
        EXPECT_TRUE(get(user, u"/f") == content) << part;
    }
}

TEST_F(CutTest, ABlackHoleEndsInTimeAndTheNextCallWorks) {
    const RemoteUser user(url("?timeout=1&retries=1"), token);
    user.files->createFile(createRequest(u"/f", "content"));
    proxy.hold(true);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(codeOf([&] { get(user, u"/f"); }), Code::BAD_NETWORK);
    EXPECT_EQ(codeOf([&] { user.files->createFile(createRequest(u"/f", "lost")); }),
              Code::BAD_NETWORK);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
    proxy.hold(false);
    user.files->createFile(createRequest(u"/g", "content"));
    EXPECT_EQ(get(user, u"/g"), "content");
}

TEST_F(CutTest, SlowIsNoFailure) {
    const RemoteUser user(url("?timeout=1&retries=1"), token);
    const std::string content = pattern(4'000);
    user.files->createFile(createRequest(u"/f", content));
    proxy.slowDown(100, 50ms);  // In all longer than the time without progress.
    EXPECT_TRUE(get(user, u"/f") == content);
}

std::string utf8(const std::u16string& text) {
    return Resource(text, u"").getAsciiPercentEncodedPath();
}

/// Two users, a file of two versions, two folders and an invitation, all behind the network.
struct World {
    World() {
        ada.files->createFolder(Resource(u"/d", u""));
        ada.files->createFolder(Resource(u"/d/sub", u""));
        for (const char* content : {"one", "two"}) {
            FileCreateRequest request = createRequest(u"/d/f", content);
            ada.files->createFile(request.withCreateNewVersion(true));
        }
        invitationId = invite();
    }

    std::string invite() const {
        InvitationCreateRequest request(Resource(u"/d", u""));
        request.withRecipient(u"bob").withAccessType(AccessType::READ_ONLY);
        return ada.sharing->createInvitation(request).getInvitation().getInvitationId();
    }
    std::string grant() const {
        PermissionGrantRequest request(Resource(u"/d", u""));
        request.withSubject(Subject().withSubjectName(u"bob"));
        return ada.sharing->grantPermission(request).getPermissionId();
    }
    void accept() const {
        InvitationUpdateRequest request;
        request.withInvitationId(invitationId).withStatus(InvitationStatus::ACCEPTED);
        bob.sharing->updateInvitation(request);
    }

    /// Everything that the calls below could do twice.
    std::string state() const {
        std::ostringstream text;
        const RemoteUser fresh(url, adaToken);
        describe(fresh, u"/", text);
        text << fresh.sharing->listPermissions(PermissionListRequest(Resource(u"/d", u"")))
                    .getPermissions()
                    .size()
             << " permissions";
        for (const RemoteUser* user : {&fresh, &bob}) {
            for (const Invitation& invitation :
                 user->sharing->listInvitations(InvitationListRequest()).getInvitations()) {
                text << ", invitation " << static_cast<int>(invitation.getStatus());
            }
        }
        return text.str();
    }

    std::shared_ptr<kvxstore::Store> store = kvxstore::Store::open("sqlite::memory:");
    const std::string adaToken = store->createUser({.name = u"ada"});
    const std::string bobToken = store->createUser({.name = u"bob"});
    kvxserver::Server server{serverOptions(), [this] { return store->createClient(); }};
    Proxy proxy{server.port()};
    const std::string url = "kvx+plain://127.0.0.1:" + std::to_string(proxy.port());
    RemoteUser ada{url, adaToken};
    RemoteUser bob{url, bobToken};
    std::string invitationId;
    std::string handleId;

private:
    static void describe(const RemoteUser& user, const std::u16string& path,
                         std::ostringstream& text) {
        const auto listing = user.files->listFolder(FolderListRequest(Resource(path, u"")));
        for (const FileSummary& file : listing.getFiles()) {
            const std::u16string name = path + u'/' + file.getName();
            text << utf8(name) << ' ' << file.getSize() << ' '
                 << user.versioning->listVersions(VersionListRequest(Resource(name, u"")))
                        .getVersions()
                        .size()
                 << '\n';
        }
        for (const FolderSummary& subfolder : listing.getFolders()) {
            const std::u16string name = path + (path == u"/" ? u"" : u"/") + subfolder.getName();
            text << utf8(name) << '\n';
            describe(user, name, text);
        }
    }
};

struct OnceCall {
    const char* name;
    std::function<void(World&)> prepare;
    /// Makes the call, and says what its answer was.
    std::function<std::string(World&)> call;
};

const Resource sharedFolder(u"/d", u"");
const Resource sharedFile(u"/d/f", u"");
const Resource otherFile(u"/d/g", u"");

const OnceCall onceCalls[] = {
    {"logout",
     {},
     [](World& world) {
         world.ada.client->logout({});
         return std::string(codeOf([&] { world.ada.files->listFolder(sharedFolder); }) ? "out"
                                                                                       : "in");
     }},
    {"createFile",
     {},
     [](World& world) {
         FileCreateRequest request = createRequest(u"/d/f", "three");
         return std::to_string(
             world.ada.files->createFile(request.withCreateNewVersion(true)).getVersionLabel());
     }},
    {"deleteFile",
     {},
     [](World& world) {
         return std::string(
             world.ada.files->deleteFile(sharedFile).getDeletedFileSummary() ? "deleted" : "");
     }},
    {"createFolder",
     {},
     [](World& world) {
         world.ada.files->createFolder(Resource(u"/new", u""));
         return std::string();
     }},
    {"deleteFolder",
     {},
     [](World& world) {
         const auto summary = world.ada.files->deleteFolder(Resource(u"/d/sub", u""));
         return std::string(summary.getDeletedFolderSummary() ? "deleted" : "");
     }},
    {"createReadWriteFileHandle",
     {},
     [](World& world) {
         FileHandleReadWriteCreateRequest request(otherFile);
         const auto handle = world.ada.files->createReadWriteFileHandle(
             request.withCreateMode(FileCreateMode::CREATE));
         return std::string(handle.getFileCreated() ? "created" : "there");
     }},
    {"closeFileHandle",
     [](World& world) {
         FileHandleReadWriteCreateRequest request(sharedFile);
         request.withCreateMode(FileCreateMode::UPDATE);
         world.handleId = world.ada.files->createReadWriteFileHandle(request).getFileHandleId();
         FileContentWriteRequest write(sharedFile);
         static const unsigned char bytes[] = {'n', 'e', 'w', '!'};
         world.ada.files->writeFileContent(
             write.withFileHandleId(world.handleId).withContent(bytes, sizeof(bytes)));
     },
     [](World& world) {
         FileHandleCloseRequest request(sharedFile);
         world.ada.files->closeFileHandle(
             request.withFileHandleId(world.handleId)
                 .withOperation(FileHandleCloseOperation::COMMIT_CHANGES)
                 .withCreateNewVersion(true));
         return std::string();
     }},
    {"move",
     {},
     [](World& world) {
         world.ada.files->move(MoveOrCopyRequest(sharedFile, otherFile));
         return std::string();
     }},
    {"copy",
     {},
     [](World& world) {
         world.ada.files->copy(MoveOrCopyRequest(sharedFile, otherFile));
         return std::string();
     }},
    {"grantPermission",
     {},
     [](World& world) { return std::string(world.grant().empty() ? "" : "granted"); }},
    {"revokePermission", [](World& world) { world.handleId = world.grant(); },
     [](World& world) {
         PermissionRevokeRequest request(sharedFolder);
         world.ada.sharing->revokePermission(request.withPermissionId(world.handleId));
         return std::string();
     }},
    {"createInvitation",
     {},
     [](World& world) {
         const std::string id = world.invite();
         std::string found = "lost";
         for (const Invitation& invitation :
              world.ada.sharing->listInvitations(InvitationListRequest()).getInvitations()) {
             found = invitation.getInvitationId() == id ? "listed" : found;
         }
         return found;
     }},
    {"updateInvitation",
     {},
     [](World& world) {
         world.accept();
         return std::string();
     }},
    {"deleteInvitation",
     {},
     [](World& world) {
         InvitationDeleteRequest request;
         world.ada.sharing->deleteInvitation(
             request.withInvitationId(world.invitationId).withResource(sharedFolder));
         return std::string();
     }},
    {"copyFolderFromInvitation", [](World& world) { world.accept(); },
     [](World& world) {
         InvitationCopyFolderRequest request;
         world.bob.sharing->copyFolderFromInvitation(
             request.withInvitationId(world.invitationId)
                 .withTargetResource(Resource(u"/copied", u"bob")));
         return std::string();
     }},
    {"restoreVersion",
     {},
     [](World& world) {
         VersionRestoreRequest request(sharedFile);
         world.ada.versioning->restoreVersion(request.withVersionLabel(1));
         return std::string();
     }},
};

TEST(CutAnswerTest, EveryCallThatChangesSomethingHasOneEffectAndItsAnswer) {
    for (const OnceCall& once : onceCalls) {
        const auto run = [&](std::int64_t cutAfter) {
            World world;
            if (once.prepare) {
                once.prepare(world);
            }
            world.proxy.cutAfter(Proxy::never, cutAfter);
            SCOPED_TRACE(once.name);
            std::string answer = once.call(world);
            EXPECT_EQ(world.proxy.cuts(), cutAfter == Proxy::never ? 0U : 1U) << once.name;
            return answer + '\n' + world.state();
        };
        const std::string expected = run(Proxy::never);
        for (const std::int64_t bytes : {1, 30, 90}) {
            EXPECT_EQ(run(bytes), expected) << once.name << " cut after " << bytes;
        }
    }
}

}  // namespace
}  // namespace storage::kvxremote
