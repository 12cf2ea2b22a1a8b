#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

/// A call of the owner that must be refused. The folder holds "file", "other", "full/",
/// "full/sub/", "full/file" and "empty/".
struct Refusal {
    std::string id;
    Code code;
    void (*run)(const Participant&, const Resource& folder);
};

using P = const Participant&;
using R = const Resource&;

const Refusal refusals[] = {
    {"files.create.missingParent", Code::PARENT_RESOURCE_NOT_FOUND,
     [](P p, R r) { p.write(r / u"gone" / u"f", "x"); }},
    {"files.create.belowAFile", Code::PARENT_RESOURCE_NOT_FOUND,
     [](P p, R r) { p.write(r / u"file" / u"f", "x"); }},
    {"files.create.overAFolder", Code::CONFLICT, [](P p, R r) { p.write(r / u"empty", "x"); }},
    {"files.create.overTheRoot", Code::CONFLICT, [](P p, R) { p.write(p.root(), "x"); }},
    {"files.read.missing", Code::RESOURCE_NOT_FOUND, [](P p, R r) { p.read(r / u"gone"); }},
    {"files.read.belowAFile", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.read(r / u"file" / u"f"); }},
    {"files.read.otherCase", Code::RESOURCE_NOT_FOUND, [](P p, R r) { p.read(r / u"FILE"); }},
    {"files.read.folder", Code::CONFLICT, [](P p, R r) { p.read(r / u"full"); }},
    {"files.delete.missing", Code::RESOURCE_NOT_FOUND, [](P p, R r) { p.remove(r / u"gone"); }},
    {"files.delete.folder", Code::CONFLICT, [](P p, R r) { p.remove(r / u"empty"); }},
    {"files.metadata.missing", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.call(&FileAccess::setMetadata, r / u"gone"); }},
    {"files.attributes.missing", Code::RESOURCE_NOT_FOUND, [](P p, R r) { p.stat(r / u"gone"); }},
    {"downloads.create.folder", Code::CONFLICT,
     [](P p, R r) { p.call(&FileAccess::createFileDownload, r / u"full"); }},
    {"downloads.location.unknown", Code::RESOURCE_NOT_FOUND,
     [](P p, R) {
         p.call(&FileAccess::downloadFile,
                FileDownloadRequest("no/such/location").withReadIntoString(true));
     }},
    {"folders.create.missingParent", Code::PARENT_RESOURCE_NOT_FOUND,
     [](P p, R r) { p.makeFolder(r / u"gone" / u"d"); }},
    {"folders.create.overAFolder", Code::CONFLICT, [](P p, R r) { p.makeFolder(r / u"full"); }},
    {"folders.create.overAFile", Code::CONFLICT, [](P p, R r) { p.makeFolder(r / u"file"); }},
    {"folders.delete.full", Code::FOLDER_NOT_EMPTY,
     [](P p, R r) { p.removeFolder(r / u"full", false); }},
    {"folders.delete.missing", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.removeFolder(r / u"gone", true); }},
    {"folders.delete.file", Code::CONFLICT, [](P p, R r) { p.removeFolder(r / u"file", true); }},
    {"folders.list.missing", Code::RESOURCE_NOT_FOUND, [](P p, R r) { p.list(r / u"gone"); }},
    {"folders.list.file", Code::CONFLICT, [](P p, R r) { p.list(r / u"file"); }},
    {"folders.listMulti.file", Code::CONFLICT,
     [](P p, R r) { p.call(&FileAccess::listMultiFolder, r / u"file"); }},
    {"move.missing", Code::RESOURCE_NOT_FOUND, [](P p, R r) { p.move(r / u"gone", r / u"x"); }},
    {"move.missingParent", Code::PARENT_RESOURCE_NOT_FOUND,
     [](P p, R r) { p.move(r / u"file", r / u"gone" / u"x"); }},
    {"move.targetExists", Code::CONFLICT, [](P p, R r) { p.move(r / u"file", r / u"other"); }},
    {"move.folderTargetExists", Code::CONFLICT,
     [](P p, R r) { p.move(r / u"full", r / u"empty"); }},
    {"move.intoItself", Code::CONFLICT,
     [](P p, R r) { p.move(r / u"full", r / u"full" / u"sub" / u"x"); }},
    {"copy.missing", Code::RESOURCE_NOT_FOUND, [](P p, R r) { p.copy(r / u"gone", r / u"x"); }},
    {"copy.missingParent", Code::PARENT_RESOURCE_NOT_FOUND,
     [](P p, R r) { p.copy(r / u"file", r / u"gone" / u"x"); }},
    {"copy.targetExists", Code::CONFLICT, [](P p, R r) { p.copy(r / u"file", r / u"other"); }},
    {"copy.intoItself", Code::CONFLICT, [](P p, R r) { p.copy(r / u"full", r / u"full" / u"x"); }},
    {"handles.open.versionMissing", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.openToRead(r / u"file", 1'000'000); }},
    {"handles.open.folderToRead", Code::CONFLICT, [](P p, R r) { p.openToRead(r / u"full"); }},
    {"handles.open.folderToWrite", Code::CONFLICT,
     [](P p, R r) { p.openToWrite(r / u"full", FileCreateMode::CREATE_OR_UPDATE); }},
    {"handles.open.createOverAFile", Code::CONFLICT,
     [](P p, R r) { p.openToWrite(r / u"file", FileCreateMode::CREATE, true); }},
    {"handles.open.updateMissing", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.openToWrite(r / u"gone", FileCreateMode::UPDATE); }},
    {"handles.open.missingParent", Code::PARENT_RESOURCE_NOT_FOUND,
     [](P p, R r) { p.openToWrite(r / u"gone" / u"f", FileCreateMode::CREATE); }},
    {"handles.read.unknown", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.readRange(r / u"file", "no such handle", 0, 1); }},
    {"handles.write.unknown", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.writeRange(r / u"file", "no such handle", 0, "x"); }},
    {"handles.write.readOnly", Code::CONFLICT,
     [](P p, R r) { p.writeRange(r / u"file", p.openToRead(r / u"file"), 0, "x"); }},
    {"handles.close.unknown", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.close(r / u"file", "no such handle"); }},
    {"versions.read.unknownLabel", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.read(r / u"file", 1'000'000); }},
    {"versions.read.unknownId", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) {
         p.call(&FileAccess::readFile, FileReadRequest(r / u"file").withVersionId("no such id"));
     }},
    {"versions.list.folder", Code::CONFLICT, [](P p, R r) { p.versions(r / u"full"); }},
    {"versions.restore.unknown", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) {
         p.call(&IVersioning::restoreVersion, VersionRestoreRequest(r / u"file")
                                                  .withVersionLabel(1'000'000)
                                                  .withCreateNewVersion(true));
     }},
    {"permissions.grant.unknownSubject", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) { p.grant(r, u"no such user at all", Operation::READ); }},
    {"permissions.revoke.unknown", Code::RESOURCE_NOT_FOUND,
     [](P p, R r) {
         p.call(&AccessControl::revokePermission,
                PermissionRevokeRequest(r).withPermissionId("no such id"));
     }},
    {"invitations.create.file", Code::CONFLICT, [](P p, R r) { p.invite(r / u"file", u""); }},
    {"invitations.read.unknown", Code::RESOURCE_NOT_FOUND,
     [](P p, R) {
         p.call(&AccessControl::readInvitation,
                InvitationReadRequest().withInvitationId("no such id"));
     }},
    {"changes.watermark.unknown", Code::RESOURCE_NOT_FOUND,
     [](P p, R) {
         p.call(&Notification::listFileChanges,
                FileChangeListRequest().withWatermark("no watermark"));
     }},
};

void refuses(Scene& s, const Refusal& refusal) {
    s.owner.write(s.at(u"file"), "one");
    s.owner.write(s.at(u"other"), "two");
    s.owner.makeFolder(s.at(u"empty"));
    s.owner.makeFolder(s.at(u"full"));
    s.owner.makeFolder(s.at(u"full") / u"sub");
    s.owner.write(s.at(u"full") / u"file", "three");
    const std::string before = s.owner.tree(s.folder);
    EXPECT_EQ(codeOf([&] { refusal.run(s.owner, s.folder); }), refusal.code);
    EXPECT_EQ(s.owner.tree(s.folder), before) << "a refused call must change nothing";
}

}  // namespace

Clauses refusalClauses() {
    Clauses clauses;
    for (const Refusal& refusal : refusals) {
        clauses.push_back({refusal.id, [&refusal](Scene& s) { refuses(s, refusal); }});
    }
    return clauses;
}

}  // namespace storage::kvxconformance
