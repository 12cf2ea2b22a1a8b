#include <thread>

#include "Clauses.h"
#include "storage/kvxtransport/Operations.h"

namespace storage::kvxconformance {

namespace {

/// What a caller must have to be let through.
enum class Requirement {
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
    Requirement requirement;
    void (*run)(const Participant&, const Targets&);
};

const std::set<Capability> none;
const std::set<Capability> handles{Capability::HANDLES};
const std::set<Capability> sharing{Capability::SHARING};
const std::set<Capability> versions{Capability::VERSIONS};
const std::set<Capability> configuration{Capability::CONFIGURATION};
const std::set<Capability> downloads{Capability::DOWNLOADS};
const std::set<Capability> changes{Capability::CHANGES};

/// A request for the invitation, whatever is asked about it.
template <class Request>
Request about(const Targets& t) {
    return Request().withInvitationId(t.invitation.getInvitationId());
}

// What the operations are tried with, a row for each row of the table of operations: without one
// the kit does not compile.
#define CASE(Type, needs, required, call)                                                      \
    OperationCase caseOf(kvxtransport::operations::Type type) {                                \
        return {std::string(type.name), needs, Requirement::required,                          \
                []([[maybe_unused]] const Participant& p, [[maybe_unused]] const Targets& t) { \
                    call;                                                                      \
                }};                                                                            \
    }
CASE(Logout, none, SESSION, p.call(&KVXClient::logout, LogoutRequest()))
CASE(CreateFile, none, WRITE, p.write(t.newFile, "new"))
CASE(DeleteFile, none, WRITE, p.remove(t.file))
CASE(CreateFileDownload, downloads, READ, p.call(&FileAccess::createFileDownload, t.file))
CASE(DownloadFile, downloads, NONE,
     p.call(&FileAccess::downloadFile, FileDownloadRequest(t.location).withReadIntoString(true)))
CASE(CreateFolder, none, WRITE, p.makeFolder(t.newFolder))
CASE(DeleteFolder, none, WRITE, p.removeFolder(t.subFolder, true))
CASE(CreateReadOnlyFileHandle, handles, READ, p.openToRead(t.file))
CASE(CreateReadWriteFileHandle, handles, WRITE, p.openToWrite(t.file, FileCreateMode::UPDATE))
CASE(ReadFile, none, READ, p.read(t.file))
CASE(ReadFileContent, handles, SECRET, p.readRange(t.file, t.handle, 0, 1))
CASE(WriteFileContent, handles, SECRET, p.writeRange(t.file, t.handle, 0, "x"))
CASE(CloseFileHandle, handles, SECRET, p.close(t.file, t.handle))
CASE(ListFolder, none, READ, p.list(t.folder))
CASE(ListMultiFolder, none, READ, p.call(&FileAccess::listMultiFolder, t.folder))
CASE(Move, none, WRITE, p.move(t.file, t.newFile))
CASE(Copy, none, WRITE, p.copy(t.file, t.newFile))
CASE(ReadFileAttributes, none, READ, p.stat(t.file))
CASE(SetMetadata, none, WRITE, p.call(&FileAccess::setMetadata, t.file))
CASE(GrantPermission, sharing, OWNERSHIP, p.grant(t.folder, t.subject, Operation::READ))
CASE(RevokePermission, sharing, OWNERSHIP,
     p.call(&AccessControl::revokePermission,
            PermissionRevokeRequest(t.folder).withPermissionId(t.permission)))
CASE(ListPermissions, sharing, OWNERSHIP, p.call(&AccessControl::listPermissions, t.folder))
CASE(CreateInvitation, sharing, OWNERSHIP, p.invite(t.folder, u""))
CASE(ReadInvitation, sharing, SECRET,
     p.call(&AccessControl::readInvitation, about<InvitationReadRequest>(t)))
CASE(UpdateInvitation, sharing, SECRET, p.answer(t.invitation, InvitationStatus::ACCEPTED))
CASE(DeleteInvitation, sharing, SECRET,
     p.call(&AccessControl::deleteInvitation, about<InvitationDeleteRequest>(t)))
CASE(ListInvitations, sharing, SESSION,
     p.call(&AccessControl::listInvitations, InvitationListRequest()))
CASE(CopyFolderFromInvitation, sharing, SECRET,
     p.call(&AccessControl::copyFolderFromInvitation,
            about<InvitationCopyFolderRequest>(t).withTargetResource(t.newFolder)))
CASE(GetFolderContentFromInvitation, sharing, SECRET,
     p.call(&AccessControl::getFolderContentFromInvitation,
            about<InvitationFolderContentRequest>(t)))
CASE(GetInvitationDetails, sharing, SECRET,
     p.call(&AccessControl::getInvitationDetails, about<InvitationDetailsRequest>(t)))
CASE(SetResourcePolicy, configuration, OWNERSHIP,
     p.call(&ConfigurationManagement::setResourcePolicy,
            ResourcePolicySetRequest().withResource(t.file).withResourcePolicy(
                ResourcePolicy()
                    .withVersionPolicy(VersionPolicy::ENABLED)
                    .withPublicAccessPolicy(PublicAccessPolicy::DENIED))))
CASE(GetResourcePolicy, configuration, READ,
     p.call(&ConfigurationManagement::getResourcePolicy,
            ResourcePolicyGetRequest().withResource(t.file)))
CASE(GetStorageUsage, configuration, SESSION,
     p.call(&ConfigurationManagement::getStorageUsage, StorageUsageGetRequest()))
CASE(ListFileChanges, changes, SESSION,
     p.call(&Notification::listFileChanges, FileChangeListRequest()))
CASE(ListVersions, versions, READ, p.versions(t.file))
CASE(RestoreVersion, versions, WRITE,
     p.call(&IVersioning::restoreVersion,
            VersionRestoreRequest(t.file).withVersionLabel(t.version).withCreateNewVersion(true)))

#undef CASE

std::vector<OperationCase> operationCases() {
    std::vector<OperationCase> cases;
    kvxtransport::forEachOperation([&](auto operation) {
        using Type = decltype(operation);
        if constexpr (!std::is_same_v<Type, kvxtransport::operations::Ping> &&
                      !std::is_same_v<Type, kvxtransport::operations::Login>) {
            cases.push_back(caseOf(operation));
        }
    });
    cases.push_back({"replaceFile", none, Requirement::WRITE,
                     [](const Participant& p, const Targets& t) { p.write(t.file, "new"); }});
    return cases;
}

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
    if (operation.requirement != Requirement::SECRET) {
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
    static const std::vector<OperationCase> operations = operationCases();
    Clauses clauses;
    for (const OperationCase& operation : operations) {
        const auto add = [&](const std::string& id, auto check, auto... arguments) {
            clauses.push_back({id + operation.name,
                               [=, &operation](Scene& s) { check(s, operation, arguments...); },
                               operation.needs});
        };
        add("calls.completesOnce.", completesOnce);
        const Requirement required = operation.requirement;
        if (required != Requirement::NONE) {
            add("session.neededBy.", needsSession);
        }
        if (required < Requirement::READ) {
            continue;
        }
        add("paths.illegal.", refusesIllegalPaths);
        add("paths.missing.", reportsMissing);
        add("files.ofAnother.", expectForGuest, std::nullopt, Code::RESOURCE_NOT_FOUND);
        const auto unless = [](bool allowed) {
            return allowed ? std::nullopt : std::optional(Code::UNAUTHORIZED);
        };
        add("sharing.reader.", expectForGuest, Operation::READ,
            unless(required == Requirement::READ));
        add("sharing.writer.", expectForGuest, Operation::READ_WRITE,
            unless(required != Requirement::OWNERSHIP));
    }
    return clauses;
}

}  // namespace storage::kvxconformance
