#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/InvitationText.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"

namespace storage::kvxtool {
namespace {

void invite(const Session& session, Invocation& invocation) {
    const RemoteName name = RemoteName::parse(invocation.text("REMOTE"));
    const std::string& recipient = invocation.text("--to");
    requireFolder(session.files(), name);
    kvxclient::InvitationCreateRequest request(name.resource());
    request.withRecipient(utf16Argument(recipient))
        .withAccessType(invocation.has("--write") ? kvxclient::AccessType::READ_WRITE
                                                  : kvxclient::AccessType::READ_ONLY);
    const kvxclient::Invitation invitation =
        session.sharing().createInvitation(std::move(request)).getInvitation();
    if (!recipient.empty() && invitation.getRecipient().getProfileId().empty()) {
        invocation.diagnostics.warn(recipient, "nobody has this name or mail address yet");
    }
    invocation.out.print(jsonOf(invitation), invitation.getInvitationId());
}

}  // namespace

Command inviteCommand() {
    return {
        .name = "invite",
        .summary = "Invite others to a folder of yours",
        .group = "Sharing",
        .options = {argument("REMOTE", "A folder in the store"),
                    option("--to", "NAME",
                           "The name or mail address of a user; whoever knows the id by default"),
                    flag("--write", "Offer to change it, not only to read")},
        .notes =
            R"(Prints the id of the invitation. Nobody can read anything but kvx shared ID before the
invitation is accepted.)",
        .examples = {"kvx invite /docs --to bob", "kvx invite /photos --write"},
        .run = inSession(invite, "REMOTE")};
}

}  // namespace storage::kvxtool
