#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/InvitationText.h"
#include "commands/Running.h"
#include "ui/Terminal.h"

namespace storage::kvxtool {
namespace {

using kvxclient::InvitationStatus;

/// A command that does `action` with the invitation ID.
Command command(std::string name, std::string summary,
                std::function<void(const Session&, Invocation&, const std::string&)> action) {
    const std::string example = "kvx " + name + " ID";
    return {.name = std::move(name),
            .summary = std::move(summary),
            .group = "Sharing",
            .options = {argument("ID", "The id of an invitation")},
            .examples = {example},
            .run = inSession(
                [action = std::move(action)](const Session& session, Invocation& invocation) {
                    const std::string& id = invocation.text("ID");
                    explainMissing(id, false, [&] { action(session, invocation, id); });
                },
                "ID")};
}

auto answer(InvitationStatus status) {
    return [status](const Session& session, Invocation& invocation, const std::string& id) {
        kvxclient::InvitationUpdateRequest request;
        request.withInvitationId(id).withStatus(status);
        const kvxclient::Invitation invitation =
            session.sharing().updateInvitation(std::move(request)).getInvitation();
        const bool accepted = status == InvitationStatus::ACCEPTED;
        invocation.out.remark(jsonOf(invitation), accepted ? shown(folderOf(invitation)) : "");
    };
}

}  // namespace

Command acceptCommand() {
    return command("accept", "Accept an invitation, and print the folder's name",
                   answer(InvitationStatus::ACCEPTED));
}

Command declineCommand() {
    return command("decline", "Decline an invitation, also one accepted before",
                   answer(InvitationStatus::DECLINED));
}

Command uninviteCommand() {
    return command("uninvite", "Take back an invitation and the right it gave",
                   [](const Session& session, Invocation&, const std::string& id) {
                       kvxclient::InvitationDeleteRequest request;
                       session.sharing().deleteInvitation(std::move(request.withInvitationId(id)));
                   });
}

}  // namespace storage::kvxtool
