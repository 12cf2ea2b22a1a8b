#include <algorithm>

#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

std::vector<Permission> permissions(Scene& s, const Resource& item) {
    return s.owner.call(&AccessControl::listPermissions, item).getPermissions();
}

void revoke(Scene& s, const Resource& item, const std::string& id) {
    s.owner.call(&AccessControl::revokePermission,
                 PermissionRevokeRequest(item).withPermissionId(id));
}

bool sees(const Participant& who, const Resource& folder) {
    const auto code = codeOf([&] { who.list(folder); });
    EXPECT_TRUE(!code || code == Code::RESOURCE_NOT_FOUND) << *code;
    return !code;
}

}  // namespace

const Clauses permissionClauses{
    {"permissions.grant.holdsUntilRevoked",
     [](Scene& s) {
         s.owner.makeFolder(s.d);
         s.owner.write(s.d / u"f", "text");
         EXPECT_FALSE(sees(s.guest(), s.d));
         const std::string id = s.owner.grant(s.d, s.guest().name(), Operation::READ);
         EXPECT_EQ(s.guest().tree(s.d), "f=text ");
         EXPECT_FALSE(sees(s.guest(), s.folder)) << "what lies above is not given";
         revoke(s, s.d, id);
         EXPECT_FALSE(sees(s.guest(), s.d));
         EXPECT_EQ(codeOf([&] { s.guest().read(s.d / u"f"); }), Code::RESOURCE_NOT_FOUND);
     }},
    {"permissions.grant.ofOneFile",
     [](Scene& s) {
         s.owner.write(s.f, "text");
         s.owner.write(s.g, "secret");
         s.owner.grant(s.f, s.guest().name(), Operation::READ_WRITE);
         EXPECT_EQ(s.guest().read(s.f), "text");
         EXPECT_EQ(codeOf([&] { s.guest().read(s.g); }), Code::RESOURCE_NOT_FOUND);
         s.guest().write(s.f, "changed");
         EXPECT_EQ(s.owner.tree(s.folder), "f=changed g=secret ");
     }},
    {"permissions.list.tellsWhatWasGranted",
     [](Scene& s) {
         EXPECT_TRUE(permissions(s, s.folder).empty());
         const std::string id = s.owner.grant(s.folder, s.guest().name(), Operation::READ);
         const auto granted = permissions(s, s.folder);
         ASSERT_EQ(granted.size(), 1U);
         EXPECT_EQ(granted[0].getPermissionId(), id);
         EXPECT_EQ(granted[0].getSubject(), s.guest().name());
         EXPECT_EQ(granted[0].getResource(), s.folder);
         EXPECT_FALSE(granted[0].getOperation().empty());
         revoke(s, s.folder, id);
         EXPECT_TRUE(permissions(s, s.folder).empty());
     }},
    {"permissions.grant.toAUserToCome",
     [](Scene& s) {
         s.owner.call(&AccessControl::grantPermission,
                      PermissionGrantRequest(s.folder)
                          .withSubject(Subject().withSubjectName(u"a user to come"))
                          .withOperation(Operation::READ)
                          .withAllowNonExistingUser(true));
         const auto granted = permissions(s, s.folder);
         ASSERT_EQ(granted.size(), 1U);
         EXPECT_EQ(granted[0].getSubject(), u"a user to come");
     }},
    {"permissions.summary.tellsTheRight",
     [](Scene& s) {
         s.owner.makeFolder(s.d);
         s.owner.write(s.f, "");
         for (const Operation operation : {Operation::READ, Operation::READ_WRITE}) {
             const bool writes = operation == Operation::READ_WRITE;
             const std::string id = s.owner.grant(s.folder, s.guest().name(), operation);
             const FolderListResponse listing = s.guest().list(s.folder);
             const auto type = writes ? AccessType::READ_WRITE : AccessType::READ_ONLY;
             EXPECT_EQ(listing.getFiles().at(0).isWritable(), writes);
             EXPECT_EQ(listing.getFolders().at(0).isWritable(), writes);
             EXPECT_EQ(listing.getFolders().at(0).getAccessType(), type);
             const FileAttributes attributes = s.guest().stat(s.folder);
             EXPECT_EQ(attributes.getWritable(), writes);
             EXPECT_EQ(attributes.getAccessType(), type);
             EXPECT_FALSE(attributes.getShareable());
             EXPECT_TRUE(attributes.isSharedFolder());
             revoke(s, s.folder, id);
         }
         EXPECT_TRUE(s.owner.stat(s.folder).getShareable());
     }},
    {"permissions.thirdUser.seesNothing",
     [](Scene& s) {
         if (s.transport.users.size() < 3) {
             GTEST_SKIP() << "there is no third user";
         }
         s.owner.grant(s.folder, s.guest().name(), Operation::READ_WRITE);
         EXPECT_TRUE(sees(s.guest(), s.folder));
         EXPECT_FALSE(sees(s.stranger(), s.folder));
     }},
};

namespace {

void withdraw(const Participant& who, const Invitation& invitation) {
    who.call(&AccessControl::deleteInvitation, InvitationDeleteRequest()
                                                   .withResource(invitation.getResource())
                                                   .withInvitationId(invitation.getInvitationId()));
}

Invitation readInvitation(const Participant& who, const std::string& id) {
    return who.call(&AccessControl::readInvitation, InvitationReadRequest().withInvitationId(id))
        .getInvitation();
}

/// Whether the caller's list for the request has the invitation.
bool lists(const Participant& who, const Invitation& invitation,
           const InvitationListRequest& request = {}) {
    const auto listed = who.call(&AccessControl::listInvitations, request).getInvitations();
    return std::any_of(listed.begin(), listed.end(), [&](const Invitation& one) {
        return one.getInvitationId() == invitation.getInvitationId();
    });
}

/// An invitation of the guest to "d", which holds "f".
Invitation invitation(Scene& s, bool open = false, AccessType type = AccessType::READ_ONLY) {
    s.owner.makeFolder(s.d);
    s.owner.write(s.d / u"f", "text");
    return s.owner.invite(s.d, open ? u"" : s.guest().name(), type);
}

}  // namespace

const Clauses invitationClauses{
    {"invitations.personal.isDescribed",
     [](Scene& s) {
         const Invitation made = invitation(s, false, AccessType::READ_WRITE);
         EXPECT_FALSE(made.getInvitationId().empty());
         for (const Participant* who : {&s.owner, &s.guest()}) {
             const Invitation read = readInvitation(*who, made.getInvitationId());
             EXPECT_EQ(read.getInvitationId(), made.getInvitationId());
             EXPECT_EQ(read.getInvitationType(), InvitationType::PERSONAL);
             EXPECT_EQ(read.getStatus(), InvitationStatus::PENDING);
             EXPECT_EQ(read.getAccessType(), AccessType::READ_WRITE);
             EXPECT_EQ(read.getName(), u"d");
             EXPECT_EQ(read.getResource(), s.d);
             EXPECT_TRUE(lists(*who, made));
         }
     }},
    {"invitations.personal.givesItsRightWhenAccepted",
     [](Scene& s) {
         for (const AccessType type : {AccessType::READ_ONLY, AccessType::READ_WRITE}) {
             const Invitation made = invitation(s, false, type);
             EXPECT_FALSE(sees(s.guest(), s.d)) << "not before it is accepted";
             EXPECT_EQ(s.guest().answer(made, InvitationStatus::ACCEPTED).getStatus(),
                       InvitationStatus::ACCEPTED);
             EXPECT_EQ(s.guest().tree(s.d), "f=text ");
             EXPECT_EQ(
                 codeOf([&] { s.guest().write(s.d / u"f", "text"); }),
                 type == AccessType::READ_WRITE ? std::nullopt : std::optional(Code::UNAUTHORIZED));
             withdraw(s.owner, made);
             EXPECT_FALSE(sees(s.guest(), s.d)) << "not after it is taken back";
             EXPECT_EQ(codeOf([&] { readInvitation(s.guest(), made.getInvitationId()); }),
                       Code::RESOURCE_NOT_FOUND);
             s.owner.removeFolder(s.d, true);
         }
     }},
    {"invitations.personal.givesNothingWhenDeclined",
     [](Scene& s) {
         const Invitation made = invitation(s);
         s.guest().answer(made, InvitationStatus::ACCEPTED);
         EXPECT_TRUE(sees(s.guest(), s.d));
         EXPECT_EQ(s.guest().answer(made, InvitationStatus::DECLINED).getStatus(),
                   InvitationStatus::DECLINED);
         EXPECT_FALSE(sees(s.guest(), s.d));
     }},
    {"invitations.personal.isAnsweredByItsRecipient",
     [](Scene& s) {
         const Invitation made = invitation(s);
         EXPECT_EQ(codeOf([&] { s.owner.answer(made, InvitationStatus::ACCEPTED); }),
                   Code::UNAUTHORIZED);
         EXPECT_EQ(codeOf([&] { withdraw(s.guest(), made); }), Code::UNAUTHORIZED);
         EXPECT_EQ(readInvitation(s.owner, made.getInvitationId()).getStatus(),
                   InvitationStatus::PENDING);
     }},
    {"invitations.personal.isUnknownToOthers",
     [](Scene& s) {
         if (s.transport.users.size() < 3) {
             GTEST_SKIP() << "there is no third user";
         }
         const Invitation made = invitation(s);
         EXPECT_EQ(codeOf([&] { readInvitation(s.stranger(), made.getInvitationId()); }),
                   Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(codeOf([&] { s.stranger().answer(made, InvitationStatus::ACCEPTED); }),
                   Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(codeOf([&] { withdraw(s.stranger(), made); }), Code::RESOURCE_NOT_FOUND);
         EXPECT_FALSE(lists(s.stranger(), made));
         EXPECT_FALSE(sees(s.stranger(), s.d));
     }},
    {"invitations.list.filters",
     [](Scene& s) {
         const Invitation made = invitation(s);
         const auto pending = InvitationListRequest().withStatus(InvitationStatus::PENDING);
         const auto accepted = InvitationListRequest().withStatus(InvitationStatus::ACCEPTED);
         EXPECT_TRUE(lists(s.guest(), made, pending));
         EXPECT_FALSE(lists(s.guest(), made, accepted));
         s.guest().answer(made, InvitationStatus::ACCEPTED);
         EXPECT_FALSE(lists(s.guest(), made, pending));
         EXPECT_TRUE(lists(s.guest(), made, accepted));
         using Type = InvitationType;
         EXPECT_TRUE(lists(s.owner, made, InvitationListRequest().withType(Type::PERSONAL)));
         EXPECT_FALSE(lists(s.owner, made, InvitationListRequest().withType(Type::OPEN)));
         EXPECT_TRUE(lists(s.owner, made, InvitationListRequest().withResource(s.d)));
         EXPECT_FALSE(lists(s.owner, made, InvitationListRequest().withResource(s.at(u"x"))));
     }},
    {"invitations.open.becomesTheCallersOwn",
     [](Scene& s) {
         const Invitation open = invitation(s, true);
         EXPECT_EQ(open.getInvitationType(), InvitationType::OPEN);
         const Invitation own = s.guest().answer(open, InvitationStatus::ACCEPTED);
         EXPECT_EQ(own.getInvitationType(), InvitationType::CREATED_FROM_OPEN);
         EXPECT_EQ(own.getStatus(), InvitationStatus::ACCEPTED);
         EXPECT_NE(own.getInvitationId(), open.getInvitationId());
         EXPECT_TRUE(lists(s.guest(), own));
         EXPECT_EQ(s.guest().tree(s.d), "f=text ");
         EXPECT_EQ(readInvitation(s.owner, open.getInvitationId()).getInvitationType(),
                   InvitationType::OPEN);
     }},
    {"invitations.content.isShownBeforeAccepting",
     [](Scene& s) {
         const Invitation made = invitation(s);
         s.owner.makeFolder(s.d / u"e");
         const auto details =
             s.guest().call(&AccessControl::getInvitationDetails,
                            InvitationDetailsRequest().withInvitationId(made.getInvitationId()));
         EXPECT_EQ(details.getInvitationDetails().getName(), u"d");
         const auto content = s.guest().call(&AccessControl::getFolderContentFromInvitation,
                                             InvitationFolderContentRequest()
                                                 .withResource(made.getResource())
                                                 .withInvitationId(made.getInvitationId()));
         ASSERT_EQ(content.getFiles().size(), 1U);
         EXPECT_EQ(content.getFiles()[0].getName(), u"f");
         EXPECT_EQ(content.getFiles()[0].getSize(), 4U);
         ASSERT_EQ(content.getFolders().size(), 1U);
         EXPECT_EQ(content.getFolders()[0].getName(), u"e");
     }},
    {"invitations.copy.makesTheCallersOwn",
     [](Scene& s) {
         const Invitation made = invitation(s);
         const Resource target = s.guest().root() / s.folder.getPath().substr(1);
         s.guest().call(&AccessControl::copyFolderFromInvitation,
                        InvitationCopyFolderRequest()
                            .withResource(made.getResource())
                            .withInvitationId(made.getInvitationId())
                            .withTargetResource(target));
         s.owner.write(s.d / u"f", "changed");
         EXPECT_EQ(s.guest().tree(target), "f=text ");
         s.guest().removeFolder(target, true);
     }},
    {"invitations.shared.isListedAtTheRoot",
     [](Scene& s) {
         const Invitation made = invitation(s);
         s.guest().answer(made, InvitationStatus::ACCEPTED);
         for (const bool showShared : {true, false}) {
             const auto folders =
                 s.guest()
                     .call(&FileAccess::listFolder,
                           FolderListRequest(s.guest().root()).withShowShared(showShared))
                     .getFolders();
             const auto shared =
                 std::find_if(folders.begin(), folders.end(), [&](const FolderSummary& folder) {
                     return folder.getInvitation().getInvitationId() == made.getInvitationId();
                 });
             ASSERT_EQ(shared != folders.end(), showShared);
             if (showShared) {
                 EXPECT_EQ(shared->getName(), u"d");
                 EXPECT_TRUE(shared->isSharedFolder());
                 EXPECT_EQ(shared->getInvitation().getResource(), s.d);
             }
         }
     }},
};

}  // namespace storage::kvxconformance
