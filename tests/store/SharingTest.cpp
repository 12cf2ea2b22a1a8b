#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

using enum InvitationStatus;
using enum InvitationType;
using Outcome = std::optional<Code>;

constexpr Outcome served = std::nullopt;
constexpr Outcome notFound = Code::RESOURCE_NOT_FOUND;
constexpr Outcome denied = Code::UNAUTHORIZED;

Resource at(const std::u16string& path) { return {path, u"owner"}; }
Resource own(const std::u16string& path) { return {path, u""}; }

/// An owner who gave a reader and a writer a folder each may use, and a stranger nothing.
struct World {
    std::shared_ptr<Store> store = Store::open("sqlite::memory:", {.readers = 1});
    Account owner{*store, store->createUser({.name = u"owner"})};
    Account writer{*store, store->createUser({.name = u"writer"})};
    Account reader{*store, store->createUser({.name = u"reader"})};
    Account stranger{*store, store->createUser({.name = u"stranger"})};
    Account nobody{*store, store->createUser({.name = u"nobody"})};
    std::string permission;
    std::string invitation;
    std::string handle;

    World() {
        for (const char16_t* folder : {u"/shared", u"/shared/sub", u"/private"}) {
            owner.makeFolder(folder);
        }
        owner.put(u"/shared/f", "one", true);
        owner.put(u"/shared/f", "two", true);
        owner.put(u"/private/p", "secret");
        permission = grant(u"reader", Operation::READ);
        grant(u"writer", Operation::READ_WRITE);
        store->createUser({.name = u"guest"});
        invitation = invite(u"guest").getInvitationId();
        handle = OpenFile(owner, u"/shared/f").id;
        for (const Account* user : {&writer, &reader, &stranger}) {
            user->put(u"/mine", "mine");
        }
        nobody.client->withSessionId("");
    }

    std::string grant(const std::u16string& name, Operation operation) const {
        return owner.sharing
            ->grantPermission(PermissionGrantRequest(at(u"/shared"))
                                  .withSubject(Subject().withSubjectName(name))
                                  .withOperation(operation)
                                  .withAllowNonExistingUser(true))
            .getPermissionId();
    }

    Invitation invite(const std::u16string& recipient,
                      AccessType accessType = AccessType::READ_ONLY) const {
        return owner.sharing
            ->createInvitation(InvitationCreateRequest(at(u"/shared"))
                                   .withRecipient(recipient)
                                   .withAccessType(accessType))
            .getInvitation();
    }
};

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
             a.sharing->updateInvitation(
                 InvitationUpdateRequest().withInvitationId(w.invitation).withStatus(ACCEPTED));
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

TEST(SharingTest, NobodyDoesWhatWasNotGivenToHim) {
    auto attempts = attemptsOnFiles();
    for (auto& attempt : attemptsOnSharing()) {
        attempts.push_back(std::move(attempt));
    }
    for (const auto& [what, action, stranger, reader, writer, owner] : attempts) {
        const World world;
        const auto outcome = [&](const Account& user) {
            return codeOf([&] { action(world, user); });
        };
        EXPECT_EQ(outcome(world.nobody), denied) << what << ", without a session";
        EXPECT_EQ(outcome(world.stranger), stranger) << what << ", as a stranger";
        EXPECT_EQ(outcome(world.reader), reader) << what << ", as a reader";
        EXPECT_EQ(outcome(world.writer), writer) << what << ", as a writer";
        const World fresh;
        EXPECT_EQ(codeOf([&] { action(fresh, fresh.owner); }), owner) << what << ", as the owner";
        EXPECT_EQ(world.store->verify(), std::vector<std::string>()) << what;
        EXPECT_EQ(fresh.store->verify(), std::vector<std::string>()) << what;
    }
}

TEST(SharingTest, TellsEveryoneHisOwnRights) {
    const World world;
    world.invite(u"");
    struct {
        const Account& user;
        AccessType accessType;
        bool writable;
        bool shareable;
    } const cases[] = {
        {world.owner, AccessType::OWNER, true, true},
        {world.writer, AccessType::READ_WRITE, true, false},
        {world.reader, AccessType::READ_ONLY, false, false},
    };
    for (const auto& [user, accessType, writable, shareable] : cases) {
        const auto attributes =
            user.files
                ->readFileAttributes(
                    FileAttributesReadRequest(at(u"/shared")).withSharingMetadata(true))
                .getFileAttributes();
        EXPECT_EQ(attributes.getAccessType(), accessType);
        EXPECT_EQ(attributes.getWritable(), writable);
        EXPECT_EQ(attributes.getShareable(), shareable);
        EXPECT_TRUE(attributes.isSharedFolder());
        const auto listing = user.files->listFolder(at(u"/shared"));
        EXPECT_EQ(listing.getFolderSummary().isWritable(), writable);
        EXPECT_EQ(listing.getFiles().at(0).isWritable(), writable);
        EXPECT_EQ(listing.getFolders().at(0).getAccessType(), accessType);
        EXPECT_FALSE(listing.getFolders().at(0).isSharedFolder());
    }
    EXPECT_TRUE(
        world.owner.files->listFolder(at(u"/shared")).getFolderSummary().getHasActiveLink());
    const auto home =
        world.reader.files->listFolder(FolderListRequest(own(u"/")).withShowShared(true));
    ASSERT_EQ(home.getFolders().size(), 1U);
    EXPECT_EQ(home.getFolders()[0].getName(), u"shared");
    EXPECT_EQ(home.getFolders()[0].getInvitation().getResource(), at(u"/shared"));
    EXPECT_EQ(world.reader.list(u"/"), "mine");
}

TEST(SharingTest, InvitationsLiveTheirLives) {
    const World world;
    const Account& guest = world.stranger;
    const Invitation sent = world.invite(u"stranger", AccessType::READ_WRITE);
    const std::string open = world.invite(u"").getInvitationId();
    const auto answer = [&](const std::string& id, InvitationStatus status) {
        return guest.sharing
            ->updateInvitation(InvitationUpdateRequest().withInvitationId(id).withStatus(status))
            .getInvitation();
    };
    const auto withdraw = [&](const std::string& id) {
        world.owner.sharing->deleteInvitation(InvitationDeleteRequest().withInvitationId(id));
    };
    const auto mayRead = [&] {
        return codeOf([&] { guest.get(u"/shared/f", u"owner"); }) == served;
    };
    const auto count = [](const Account& user, const InvitationListRequest& request) {
        return user.sharing->listInvitations(request).getInvitations().size();
    };

    EXPECT_EQ(sent.getInvitationType(), PERSONAL);
    EXPECT_EQ(sent.getResource(), at(u"/shared"));
    EXPECT_EQ(sent.getInitiator().getUserId(), u"owner");
    EXPECT_EQ(sent.getRecipient().getUserId(), u"stranger");
    const auto content = guest.sharing->getFolderContentFromInvitation(
        InvitationFolderContentRequest().withInvitationId(sent.getInvitationId()));
    EXPECT_EQ(content.getFiles().at(0).getName(), u"f");
    EXPECT_EQ(content.getFolders().at(0).getName(), u"sub");
    EXPECT_FALSE(mayRead());
    const auto offered =
        guest.files->listFolder(FolderListRequest(own(u"/")).withIncludeInvitations(true));
    EXPECT_EQ(offered.getFolders().at(0).getInvitation(), sent);

    guest.sharing->copyFolderFromInvitation(InvitationCopyFolderRequest()
                                                .withInvitationId(sent.getInvitationId())
                                                .withTargetResource(own(u"/copy")));
    EXPECT_EQ(guest.get(u"/copy/f"), "two");
    EXPECT_EQ(answer(sent.getInvitationId(), ACCEPTED).getStatus(), ACCEPTED);
    EXPECT_TRUE(mayRead());
    guest.put(u"/shared/g", "written by the guest", false, u"owner");
    answer(sent.getInvitationId(), DECLINED);
    EXPECT_FALSE(mayRead());
    EXPECT_EQ(codeOf([&] { answer(sent.getInvitationId(), PENDING); }), Code::CONFLICT);

    const Invitation mine = answer(open, ACCEPTED);
    EXPECT_EQ(mine.getInvitationType(), CREATED_FROM_OPEN);
    EXPECT_NE(mine.getInvitationId(), open);
    EXPECT_EQ(answer(open, ACCEPTED), mine);
    EXPECT_TRUE(mayRead());
    EXPECT_EQ(codeOf([&] { guest.put(u"/shared/h", "", false, u"owner"); }), denied);

    EXPECT_EQ(count(world.owner, InvitationListRequest()), 4U);
    EXPECT_EQ(count(world.owner, InvitationListRequest().withType(OPEN)), 1U);
    EXPECT_EQ(count(world.owner, InvitationListRequest().withStatus(PENDING)), 2U);
    EXPECT_EQ(count(world.owner, InvitationListRequest().withResource(own(u"/private"))), 0U);
    EXPECT_EQ(count(guest, InvitationListRequest().withResource(at(u"/shared"))), 2U);
    EXPECT_EQ(count(world.reader, InvitationListRequest()), 0U);

    EXPECT_EQ(codeOf([&] {
                  guest.sharing->deleteInvitation(
                      InvitationDeleteRequest().withInvitationId(mine.getInvitationId()));
              }),
              denied);
    withdraw(open);
    EXPECT_FALSE(mayRead());
    answer(sent.getInvitationId(), ACCEPTED);
    withdraw(sent.getInvitationId());
    EXPECT_FALSE(mayRead());
    EXPECT_EQ(codeOf([&] { answer(sent.getInvitationId(), ACCEPTED); }), notFound);
    EXPECT_EQ(world.store->verify(), std::vector<std::string>());
}

TEST(SharingTest, RightsWaitForTheirUserAndGoWithHim) {
    const World world;
    world.grant(u"later", Operation::READ);
    world.invite(u"later@home", AccessType::READ_WRITE);
    const auto permissions = [&] {
        return world.owner.sharing->listPermissions(at(u"/shared")).getPermissions();
    };
    EXPECT_EQ(permissions().at(2).getStatus(), "PENDING");
    const std::string token =
        world.store->createUser({.name = u"later", .emailAddress = u"later@home"});
    {
        const Account later(*world.store, token);
        EXPECT_EQ(later.get(u"/shared/f", u"owner"), "two");
        const auto invitation =
            later.sharing->listInvitations(InvitationListRequest()).getInvitations().at(0);
        later.sharing->updateInvitation(InvitationUpdateRequest()
                                            .withInvitationId(invitation.getInvitationId())
                                            .withStatus(ACCEPTED));
        later.put(u"/shared/h", "", false, u"owner");
    }
    EXPECT_EQ(permissions().at(2).getStatus(), "ACTIVE");
    EXPECT_EQ(permissions().at(1).getOperation(), "READ_WRITE");
    world.store->removeUser(u"later");
    EXPECT_EQ(permissions().size(), 2U);
    world.store->createUser({.name = u"later", .emailAddress = u"later@home"});
    EXPECT_EQ(permissions().size(), 2U);
    world.owner.removeFolder(u"/shared", true);
    EXPECT_EQ(codeOf([&] { world.reader.get(u"/shared/f", u"owner"); }), notFound);
    world.store->sweep();
    EXPECT_EQ(world.store->statistics().grants, 0U);
    EXPECT_EQ(world.store->statistics().invitations, 0U);
    world.owner.makeFolder(u"/shared");
    EXPECT_EQ(codeOf([&] { world.reader.files->listFolder(at(u"/shared")); }), notFound);
    EXPECT_EQ(world.store->verify(), std::vector<std::string>());
}

}  // namespace
}  // namespace storage::kvxstore
