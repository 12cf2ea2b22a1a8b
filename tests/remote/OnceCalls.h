#pragma once

#include <sstream>
#include <utility>

#include "RemoteFixture.h"

// The calls that change something, each of which must have one effect at most.

namespace storage::kvxremote {

inline std::string utf8(const std::u16string& text) {
    return Resource(text, u"").getAsciiPercentEncodedPath();
}

/// Two users, a file of two versions, two folders and an invitation, all behind the network.
struct World {
    World(std::string server, std::string tokenOfAda, const std::string& tokenOfBob,
          std::u16string nameOfBob = u"bob")
        : url(std::move(server)),
          adaToken(std::move(tokenOfAda)),
          bobName(std::move(nameOfBob)),
          ada(url, adaToken),
          bob(url, tokenOfBob) {
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
        request.withRecipient(bobName).withAccessType(AccessType::READ_ONLY);
        return ada.sharing->createInvitation(request).getInvitation().getInvitationId();
    }
    std::string grant() const {
        PermissionGrantRequest request(Resource(u"/d", u""));
        request.withSubject(Subject().withSubjectName(bobName));
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
        describe(bob, u"/", text);
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

    const std::string url;
    const std::string adaToken;
    const std::u16string bobName;
    RemoteUser ada;
    RemoteUser bob;
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

/// A call that must not be made twice.
struct OnceCall {
    const char* name;
    std::function<void(World&)> prepare;
    /// Makes the call, and says what its answer was.
    std::function<std::string(World&)> call;
};

inline const Resource sharedFolder(u"/d", u"");
inline const Resource sharedFile(u"/d/f", u"");
inline const Resource otherFile(u"/d/g", u"");

inline const OnceCall onceCalls[] = {
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
                 .withTargetResource(Resource(u"/copied", world.bobName)));
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

}  // namespace storage::kvxremote
