#include "SharingWorld.h"

namespace storage::kvxstore {
namespace {

using enum InvitationStatus;
using enum InvitationType;

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

    const auto opened = world.writer.files->createReadWriteFileHandle(
        FileHandleReadWriteCreateRequest(at(u"/shared/f")).withCreateMode(FileCreateMode::UPDATE));
    const auto write = [&] {
        world.writer.files->writeFileContent(
            FileContentWriteRequest(own(u"")).withFileHandleId(opened.getFileHandleId()));
    };
    EXPECT_EQ(codeOf(write), served);
    world.grant(u"writer", Operation::READ);
    EXPECT_EQ(codeOf(write), denied);
    world.store->removeUser(u"owner");
    EXPECT_EQ(codeOf(write), notFound);
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
