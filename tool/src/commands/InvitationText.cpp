#include "commands/InvitationText.h"

#include <nlohmann/json.hpp>

#include "ui/Failure.h"
#include "ui/Text.h"

namespace storage::kvxtool {

std::string nameOf(const kvxclient::Resource& resource) {
    return resource.getUTF8Bucket() + ":" + toUtf8(resource.getPath());
}

std::string nameOf(const kvxclient::UserProfile& user) { return toUtf8(user.getUserId()); }

std::string folderOf(const kvxclient::Invitation& invitation) {
    return invitation.getTombstone().empty() ? nameOf(invitation.getResource()) : "";
}

Json jsonOf(const kvxclient::Invitation& invitation) {
    return {{"id", invitation.getInvitationId()},
            {"name", folderOf(invitation)},
            {"access", toString(invitation.getAccessType())},
            {"type", toString(invitation.getInvitationType())},
            {"status", toString(invitation.getStatus())},
            {"from", nameOf(invitation.getInitiator())},
            {"to", nameOf(invitation.getRecipient())},
            {"created", utcTime(invitation.getCreated())}};
}

void explainMissing(const std::string& id, bool hasFolder, const std::function<void()>& action) {
    if (refusedWith(kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND, action)) {
        throw Failure(ExitCode::NOT_FOUND, id,
                      std::string("there is no such invitation") +
                          (hasFolder ? ", or no such folder in it" : ""));
    }
}

}  // namespace storage::kvxtool
