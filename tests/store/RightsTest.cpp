#include "SharingWorld.h"

namespace storage::kvxstore {
namespace {

struct Attempt {
    std::string what;
    std::function<void(const World&, const Account&)> action;
    Outcome stranger;
    Outcome reader;
    Outcome writer;
    Outcome owner = served;
};

std::vector<Attempt> attemptsOnFiles() {
    using W = const World&;
    using A = const Account&;
    const auto write = [](const Resource& to) {
        return [=](W, A a) { a.files->createFile(createRequest(to, "x")); };
    };
    const auto read = [](const Resource& from) { return [=](W, A a) { a.files->readFile(from); }; };
    const auto list = [](const Resource& folder) {
        return [=](W, A a) { a.files->listFolder(folder); };
    };
    const auto remove = [](const Resource& folder) {
        return [=](W, A a) {
            a.files->deleteFolder(FolderDeleteRequest(folder).withForceRecursive(true));
        };
    };
    const auto move = [](const Resource& from, const Resource& to) {
        return [=](W, A a) { a.files->move({from, to}); };
    };
    const auto copy = [](const Resource& from, const Resource& to) {
        return [=](W, A a) { a.files->copy({from, to}); };
    };
    return {
        {"create", write(at(u"/shared/new")), notFound, denied, served},
        {"create in private", write(at(u"/private/new")), notFound, notFound, notFound},
        {"create in the root", write(at(u"/new")), notFound, notFound, notFound},
        {"replace", write(at(u"/shared/f")), notFound, denied, served},
        {"delete file", [](W, A a) { a.files->deleteFile(at(u"/shared/f")); }, notFound, denied,
         served},
        {"create folder", [](W, A a) { a.files->createFolder(at(u"/shared/new")); }, notFound,
         denied, served},
        {"delete folder", remove(at(u"/shared/sub")), notFound, denied, served},
        {"delete the shared one", remove(at(u"/shared")), notFound, denied, denied},
        {"delete private", remove(at(u"/private")), notFound, notFound, notFound},
        {"read", read(at(u"/shared/f")), notFound, served, served},
        {"read private", read(at(u"/private/p")), notFound, notFound, notFound},
        {"read nothing", read(at(u"/private/none")), notFound, notFound, notFound, notFound},
        {"download", [](W, A a) { a.files->createFileDownload(at(u"/shared/f")); }, notFound,
         served, served},
        {"open to read", [](W, A a) { a.files->createReadOnlyFileHandle(at(u"/shared/f")); },
         notFound, served, served},
        {"open to write",
         [](W, A a) {
             a.files->createReadWriteFileHandle(FileHandleReadWriteCreateRequest(at(u"/shared/f"))
                                                    .withCreateMode(FileCreateMode::UPDATE));
         },
         notFound, denied, served},
        {"read by the owner's handle",
         [](W w, A a) {
             a.files->readFileContent(
                 FileContentReadRequest(at(u"/shared/f")).withFileHandleId(w.handle));
         },
         notFound, notFound, notFound},
        {"write by the owner's handle",
         [](W w, A a) {
             a.files->writeFileContent(
                 FileContentWriteRequest(at(u"/shared/f")).withFileHandleId(w.handle));
         },
         notFound, notFound, notFound},
        {"close the owner's handle",
         [](W w, A a) {
             a.files->closeFileHandle(
                 FileHandleCloseRequest(at(u"/shared/f")).withFileHandleId(w.handle));
         },
         notFound, notFound, notFound},
        {"list", list(at(u"/shared")), notFound, served, served},
        {"list the root", list(at(u"/")), notFound, notFound, notFound},
        {"list all", [](W, A a) { a.files->listMultiFolder(at(u"/shared")); }, notFound, served,
         served},
        {"attributes", [](W, A a) { a.files->readFileAttributes(at(u"/shared/f")); }, notFound,
         served, served},
        {"set metadata", [](W, A a) { a.files->setMetadata(at(u"/shared/f")); }, notFound, denied,
         served},
        {"move", move(at(u"/shared/f"), at(u"/shared/g")), notFound, denied, served},
        {"move away", move(at(u"/shared/f"), own(u"/f")), notFound, denied, served},
        {"move the shared one", move(at(u"/shared"), own(u"/x")), notFound, denied, denied},
        {"copy away", copy(at(u"/shared"), own(u"/x")), notFound, served, served},
        {"copy in", copy(own(u"/mine"), at(u"/shared/x")), notFound, denied, served, notFound},
        {"versions", [](W, A a) { a.versioning->listVersions(at(u"/shared/f")); }, notFound, served,
         served},
        {"restore",
         [](W, A a) {
             a.versioning->restoreVersion(
                 VersionRestoreRequest(at(u"/shared/f")).withVersionLabel(1));
         },
         notFound, denied, served},
        {"read policy",
         [](W, A a) {
             a.configuration->getResourcePolicy(
                 ResourcePolicyGetRequest().withResource(at(u"/shared")));
         },
         notFound, served, served},
        {"set policy",
         [](W, A a) {
             a.configuration->setResourcePolicy(
                 ResourcePolicySetRequest().withResource(at(u"/shared")));
         },
         notFound, denied, denied},
    };
}

std::vector<Attempt> attemptsOnSharing() {
    using W = const World&;
    using A = const Account&;
    return {
        {"grant",
         [](W, A a) {
             a.sharing->grantPermission(PermissionGrantRequest(at(u"/shared"))
                                            .withSubject(Subject().withSubjectName(u"stranger")));
         },
         notFound, denied, denied},
        {"revoke",
         [](W w, A a) {
             a.sharing->revokePermission(
                 PermissionRevokeRequest(at(u"/shared")).withPermissionId(w.permission));
         },
         notFound, denied, denied},
        {"permissions", [](W, A a) { a.sharing->listPermissions(at(u"/shared")); }, notFound,
         denied, denied},
        {"invite", [](W, A a) { a.sharing->createInvitation(at(u"/shared")); }, notFound, denied,
         denied},
        {"read invitation",
         [](W w, A a) {
             a.sharing->readInvitation(InvitationReadRequest().withInvitationId(w.invitation));
         },
         notFound, notFound, notFound},
        {"invitation details",
         [](W w, A a) {
             a.sharing->getInvitationDetails(
                 InvitationDetailsRequest().withInvitationId(w.invitation));
         },
         notFound, notFound, notFound},
        {"accept another's",
         [](W w, A a) {
             a.sharing->updateInvitation(InvitationUpdateRequest()
                                             .withInvitationId(w.invitation)
                                             .withStatus(InvitationStatus::ACCEPTED));
         },
         notFound, notFound, notFound, denied},
        {"content by invitation",
         [](W w, A a) {
             a.sharing->getFolderContentFromInvitation(
                 InvitationFolderContentRequest().withInvitationId(w.invitation));
         },
         notFound, notFound, notFound},
        {"copy by invitation",
         [](W w, A a) {
             a.sharing->copyFolderFromInvitation(InvitationCopyFolderRequest()
                                                     .withInvitationId(w.invitation)
                                                     .withTargetResource(own(u"/x")));
         },
         notFound, notFound, notFound},
        {"delete invitation",
         [](W w, A a) {
             a.sharing->deleteInvitation(InvitationDeleteRequest().withInvitationId(w.invitation));
         },
         notFound, notFound, notFound},
    };
}

TEST(RightsTest, NobodyDoesWhatWasNotGivenToHim) {
    auto attempts = attemptsOnFiles();
    for (auto& attempt : attemptsOnSharing()) {
        attempts.push_back(std::move(attempt));
    }
    for (const Attempt& attempt : attempts) {
        const World world;
        const auto outcome = [&](const Account& user) {
            return codeOf([&] { attempt.action(world, user); });
        };
        EXPECT_EQ(outcome(world.nobody), denied) << attempt.what << ", without a session";
        EXPECT_EQ(outcome(world.stranger), attempt.stranger) << attempt.what << ", as a stranger";
        EXPECT_EQ(outcome(world.reader), attempt.reader) << attempt.what << ", as a reader";
        EXPECT_EQ(outcome(world.writer), attempt.writer) << attempt.what << ", as a writer";
        const World fresh;
        EXPECT_EQ(codeOf([&] { attempt.action(fresh, fresh.owner); }), attempt.owner)
            << attempt.what << ", as the owner";
        EXPECT_EQ(world.store->verify(), std::vector<std::string>()) << attempt.what;
        EXPECT_EQ(fresh.store->verify(), std::vector<std::string>()) << attempt.what;
    }
}

}  // namespace
}  // namespace storage::kvxstore
