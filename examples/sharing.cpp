// Shares a folder with another user by an invitation, and deletes the invitation.

#include <iostream>

#include "ExampleStore.h"

using namespace storage::kvxclient;

int main() {
    const auto store = example::openStore();
    const auto anna = example::newUser(*store, u"anna");
    const auto ben = example::newUser(*store, u"ben");
    const Resource folder(u"/trip", u"anna");
    const Resource plan(u"/trip/plan.txt", u"anna");
    const auto annasFiles = anna->createFileAccess();
    annasFiles->createFolder(folder);
    example::write(*annasFiles, plan, "by train\n");

    const auto annasSharing = anna->createAccessControl();
    const Invitation sent =
        annasSharing
            ->createInvitation(InvitationCreateRequest(folder).withRecipient(u"ben").withAccessType(
                AccessType::READ_ONLY))
            .getInvitation();

    const auto bensFiles = ben->createFileAccess();
    const auto bensSharing = ben->createAccessControl();
    const auto pending = InvitationListRequest().withStatus(InvitationStatus::PENDING);
    for (const auto& invitation : bensSharing->listInvitations(pending).getInvitations()) {
        bensSharing->updateInvitation(InvitationUpdateRequest()
                                          .withInvitationId(invitation.getInvitationId())
                                          .withStatus(InvitationStatus::ACCEPTED));
    }
    std::cout << example::read(*bensFiles, plan);
    try {
        example::write(*bensFiles, plan, "by car\n");
    } catch (const KVXClientException& error) {
        std::cout << error.what() << '\n';
    }

    annasSharing->deleteInvitation(
        InvitationDeleteRequest().withInvitationId(sent.getInvitationId()));
    try {
        example::read(*bensFiles, plan);
    } catch (const KVXClientException& error) {
        std::cout << error.what() << '\n';
    }
}
