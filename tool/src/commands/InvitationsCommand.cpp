#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/InvitationText.h"
#include "commands/Running.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using kvxclient::Invitation;

/// Only the owner of a folder invites to it.
bool isSent(const Session& session, const Invitation& invitation) {
    kvxclient::FileAttributesReadRequest request(invitation.getResource());
    kvxclient::FileAttributes attributes;
    const bool gone = refusedWith(kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND, [&] {
        attributes = session.files()
                         .readFileAttributes(std::move(request.withSharingMetadata(false)))
                         .getFileAttributes();
    });
    return !gone && attributes.getAccessType() == kvxclient::AccessType::OWNER;
}

std::string textOf(const Invitation& invitation) {
    const std::string recipient = nameOf(invitation.getRecipient());
    const std::string folder = folderOf(invitation);
    return invitation.getInvitationId() + "  " + readable(toString(invitation.getStatus())) + "  " +
           readable(toString(invitation.getAccessType())) + "  " +
           shown(nameOf(invitation.getInitiator())) + "  " +
           (recipient.empty() ? "-" : shown(recipient)) + "  " +
           (folder.empty() ? "-" : shown(folder));
}

void invitations(const Session& session, Invocation& invocation) {
    const bool all = !invocation.has("--sent") && !invocation.has("--received");
    for (const Invitation& invitation : session.sharing().listInvitations({}).getInvitations()) {
        // The owner of a deleted folder is unknown.
        if (all || folderOf(invitation).empty() ||
            isSent(session, invitation) == invocation.has("--sent")) {
            invocation.out.print(jsonOf(invitation), textOf(invitation));
        }
    }
}

}  // namespace

Command invitationsCommand() {
    return {.name = "invitations",
            .summary = "List the invitations you sent and received",
            .group = "Sharing",
            .options = {flag("--sent", "Only those that you sent"),
                        flag("--received", "Only those that you received").without("--sent")},
            .notes = "Prints id, state, right, sender, recipient and folder of each.",
            .examples = {"kvx invitations --received"},
            .run = inSession(invitations)};
}

}  // namespace storage::kvxtool
