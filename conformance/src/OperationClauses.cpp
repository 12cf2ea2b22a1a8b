#include <thread>

#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

/// What a caller must have to be let through.
enum class Right {
    NONE,     // Not even a session.
    SESSION,  // A session; what it tells is the caller's own.
    SECRET,   // A session, and an id that the caller was given.
    READ,
    WRITE,
    OWNERSHIP
};

/// What the operations act on: all below the scene's folder, or nowhere at all.
struct Targets {
    Resource folder, subFolder, file, newFile, newFolder;
    std::string handle = "none", permission = "none", location = "none";
    std::u16string subject;
    Invitation invitation = Invitation().withInvitationId("none");
    int version = 1;

    /// Resources that all have one path.
    explicit Targets(const Resource& everywhere)
        : folder(everywhere),
          subFolder(everywhere),
          file(everywhere),
          newFile(everywhere),
          newFolder(everywhere) {}

    /// Real ones.
    explicit Targets(Scene& s)
        : folder(s.folder),
          subFolder(s.at(u"sub")),
          file(s.at(u"file")),
          newFile(s.at(u"new file")),
          newFolder(s.at(u"new folder")),
          subject(s.transport.users[1].name) {
        version = s.owner.write(file, "first").getVersionLabel();
        s.owner.write(file, "second", true);
        s.owner.makeFolder(subFolder);
        s.owner.write(subFolder / u"inner", "inner");
    }
};

struct OperationCase {
    std::string name;
    std::set<Capability> needs;
    Right right;
    void (*run)(const Participant&, const Targets&);
};

const std::set<Capability> handles{Capability::HANDLES};
const std::set<Capability> sharing{Capability::SHARING};
const std::set<Capability> versions{Capability::VERSIONS};
const std::set<Capability> configuration{Capability::CONFIGURATION};
const std::set<Capability> downloads{Capability::DOWNLOADS};

/// A request for the invitation, whatever is asked about it.
template <class Request>
Request about(const Targets& t) {
    return Request().withInvitationId(t.invitation.getInvitationId());
}

using P = const Participant&;
using T = const Targets&;

const OperationCase operations[] = {
    {"logout", {}, Right::SESSION, [](P p, T) { p.call(&KVXClient::logout, LogoutRequest()); }},
    {"createFile", {}, Right::WRITE, [](P p, T t) { p.write(t.newFile, "new"); }},
    {"replaceFile", {}, Right::WRITE, [](P p, T t) { p.write(t.file, "new"); }},
    {"deleteFile", {}, Right::WRITE, [](P p, T t) { p.remove(t.file); }},
    {"createFileDownload", downloads, Right::READ,
     [](P p, T t) { p.call(&FileAccess::createFileDownload, t.file); }},
    {"downloadFile", downloads, Right::NONE,
     [](P p, T t) {
         p.call(&FileAccess::downloadFile,
                FileDownloadRequest(t.location).withReadIntoString(true));
     }},
    {"createFolder", {}, Right::WRITE, [](P p, T t) { p.makeFolder(t.newFolder); }},
    {"deleteFolder", {}, Right::WRITE, [](P p, T t) { p.removeFolder(t.subFolder, true); }},
    {"createReadOnlyFileHandle", handles, Right::READ, [](P p, T t) { p.openToRead(t.file); }},
    {"createReadWriteFileHandle", handles, Right::WRITE,
     [](P p, T t) { p.openToWrite(t.file, FileCreateMode::UPDATE); }},
    {"readFile", {}, Right::READ, [](P p, T t) { p.read(t.file); }},
    {"readFileContent", handles, Right::SECRET,
     [](P p, T t) { p.readRange(t.file, t.handle, 0, 1); }},
    {"writeFileContent", handles, Right::SECRET,
     [](P p, T t) { p.writeRange(t.file, t.handle, 0, "x"); }},
    {"closeFileHandle", handles, Right::SECRET, [](P p, T t) { p.close(t.file, t.handle); }},
    {"listFolder", {}, Right::READ, [](P p, T t) { p.list(t.folder); }},
    {"listMultiFolder",
     {},
     Right::READ,
     [](P p, T t) { p.call(&FileAccess::listMultiFolder, t.folder); }},
    {"move", {}, Right::WRITE, [](P p, T t) { p.move(t.file, t.newFile); }},
    {"copy", {}, Right::WRITE, [](P p, T t) { p.copy(t.file, t.newFile); }},
    {"readFileAttributes", {}, Right::READ, [](P p, T t) { p.stat(t.file); }},
    {"setMetadata", {}, Right::WRITE, [](P p, T t) { p.call(&FileAccess::setMetadata, t.file); }},
    {"grantPermission", sharing, Right::OWNERSHIP,
     [](P p, T t) { p.grant(t.folder, t.subject, Operation::READ); }},
    {"revokePermission", sharing, Right::OWNERSHIP,
     [](P p, T t) {
         p.call(&AccessControl::revokePermission,
                PermissionRevokeRequest(t.folder).withPermissionId(t.permission));
     }},
    {"listPermissions", sharing, Right::OWNERSHIP,
     [](P p, T t) { p.call(&AccessControl::listPermissions, t.folder); }},
    {"createInvitation", sharing, Right::OWNERSHIP, [](P p, T t) { p.invite(t.folder, u""); }},
    {"readInvitation", sharing, Right::SECRET,
     [](P p, T t) { p.call(&AccessControl::readInvitation, about<InvitationReadRequest>(t)); }},
    {"updateInvitation", sharing, Right::SECRET,
     [](P p, T t) { p.answer(t.invitation, InvitationStatus::ACCEPTED); }},
    {"deleteInvitation", sharing, Right::SECRET,
     [](P p, T t) { p.call(&AccessControl::deleteInvitation, about<InvitationDeleteRequest>(t)); }},
    {"listInvitations", sharing, Right::SESSION,
     [](P p, T) { p.call(&AccessControl::listInvitations, InvitationListRequest()); }},
    {"copyFolderFromInvitation", sharing, Right::SECRET,
     [](P p, T t) {
         p.call(&AccessControl::copyFolderFromInvitation,
                about<InvitationCopyFolderRequest>(t).withTargetResource(t.newFolder));
     }},
    {"getFolderContentFromInvitation", sharing, Right::SECRET,
     [](P p, T t) {
         p.call(&AccessControl::getFolderContentFromInvitation,
                about<InvitationFolderContentRequest>(t));
     }},
    {"getInvitationDetails", sharing, Right::SECRET,
     [](P p, T t) {
         p.call(&AccessControl::getInvitationDetails, about<InvitationDetailsRequest>(t));
     }},
    {"setResourcePolicy", configuration, Right::OWNERSHIP,
     [](P p, T t) {
         p.call(&ConfigurationManagement::setResourcePolicy,
                ResourcePolicySetRequest().withResource(t.file));
     }},
    {"getResourcePolicy", configuration, Right::READ,
     [](P p, T t) {
         p.call(&ConfigurationManagement::getResourcePolicy,
                ResourcePolicyGetRequest().withResource(t.file));
     }},
    {"getStorageUsage", configuration, Right::SESSION,
     [](P p, T) { p.call(&ConfigurationManagement::getStorageUsage, StorageUsageGetRequest()); }},
    {"listFileChanges",
     {Capability::CHANGES},
     Right::SESSION,
     [](P p, T) { p.call(&Notification::listFileChanges, FileChangeListRequest()); }},
    {"listVersions", versions, Right::READ, [](P p, T t) { p.versions(t.file); }},
    {"restoreVersion", versions, Right::WRITE,
     [](P p, T t) {
         p.call(&IVersioning::restoreVersion,
                VersionRestoreRequest(t.file).withVersionLabel(t.version));
     }},
};

/// The code, with one that says that something does not exist standing for the other.
std::optional<Code> missingCodeOf(const std::function<void()>& action) {
    const auto code = codeOf(action);
    return code == Code::PARENT_RESOURCE_NOT_FOUND ? Code::RESOURCE_NOT_FOUND : code;
}

void completesOnce(Scene& s, const OperationCase& operation) {
    Targets targets(s);
    const Participant caller = s.another();
    if (operation.needs == handles) {
        targets.handle =
            s.owner.openToWrite(targets.file, FileCreateMode::UPDATE).getFileHandleId();
    }
    if (operation.needs == sharing) {
        targets.invitation = s.owner.invite(targets.subFolder, targets.subject);
        targets.permission = s.owner.grant(targets.folder, targets.subject, Operation::READ);
    }
    if (operation.needs == downloads) {
        targets.location =
            s.owner.call(&FileAccess::createFileDownload, targets.file).getLocation();
    }
    const auto code = codeOf([&] { operation.run(caller, targets); });
    if (operation.right != Right::SECRET) {
        EXPECT_EQ(code, std::nullopt);
    }
    codeOf([&] { operation.run(caller, Targets(s.at(u"gone") / u"x")); });
    // A second completion may come a little late.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

void needsSession(Scene& s, const OperationCase& operation) {
    const Targets targets(s);
    Participant caller = s.another();
    caller.client().withSessionId("");
    const auto code = codeOf([&] { operation.run(caller, targets); });
    EXPECT_TRUE(code == Code::UNAUTHORIZED || code == Code::INVALID_SESSION_ID ||
                code == Code::SESSION_EXPIRED)
        << testing::PrintToString(code);
}

void refusesIllegalPaths(Scene& s, const OperationCase& operation) {
    for (const std::u16string& path : s.transport.illegalPaths) {
        const Targets targets(Resource(path, s.folder.getBucket()));
        EXPECT_EQ(codeOf([&] { operation.run(s.owner, targets); }), Code::ILLEGAL_PATH)
            << '"' << toUtf8(path) << '"';
    }
}

void reportsMissing(Scene& s, const OperationCase& operation) {
    for (const Resource& gone : {s.at(u"gone") / u"x", Resource(u"/x", u"no such bucket")}) {
        EXPECT_EQ(missingCodeOf([&] { operation.run(s.owner, Targets(gone)); }),
                  Code::RESOURCE_NOT_FOUND)
            << toUtf8(gone.getBucket());
    }
}

/// Runs the operation as the guest; a refusal must leave everything as it was.
void expectForGuest(Scene& s, const OperationCase& operation, std::optional<Operation> granted,
                    std::optional<Code> expected) {
    Targets targets(s);
    if (granted) {
        targets.permission = s.owner.grant(s.folder, s.guest().name(), *granted);
    }
    const std::string before = s.owner.tree(s.folder);
    EXPECT_EQ(missingCodeOf([&] { operation.run(s.guest(), targets); }), expected);
    if (expected) {
        EXPECT_EQ(s.owner.tree(s.folder), before);
    }
}

}  // namespace

Clauses operationClauses() {
    Clauses clauses;
    for (const OperationCase& operation : operations) {
        const auto add = [&](const std::string& id, auto check, auto... arguments) {
            clauses.push_back({id + operation.name,
                               [=, &operation](Scene& s) { check(s, operation, arguments...); },
                               operation.needs});
        };
        add("calls.completesOnce.", completesOnce);
        const Right right = operation.right;
        if (right != Right::NONE) {
            add("session.neededBy.", needsSession);
        }
        if (right < Right::READ) {
            continue;
        }
        add("paths.illegal.", refusesIllegalPaths);
        add("paths.missing.", reportsMissing);
        add("files.ofAnother.", expectForGuest, std::nullopt, Code::RESOURCE_NOT_FOUND);
        const auto unless = [](bool allowed) {
            return allowed ? std::nullopt : std::optional(Code::UNAUTHORIZED);
        };
        add("sharing.reader.", expectForGuest, Operation::READ, unless(right == Right::READ));
        add("sharing.writer.", expectForGuest, Operation::READ_WRITE,
            unless(right != Right::OWNERSHIP));
    }
    return clauses;
}

}  // namespace storage::kvxconformance
