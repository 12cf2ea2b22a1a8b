#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

std::vector<kvxclient::Permission> permissionsOn(const Session& session, const RemoteName& name) {
    return session.sharing().listPermissions({name.resource()}).getPermissions();
}

void revoke(const Session& session, Invocation& invocation) {
    const RemoteName name = RemoteName::parse(invocation.text("REMOTE"));
    const std::string& user = invocation.text("--from");
    const std::u16string subject = utf16Argument(user);
    bool found = false;
    for (const kvxclient::Permission& permission : permissionsOn(session, name)) {
        if (permission.getSubject() == subject) {
            kvxclient::PermissionRevokeRequest request(name.resource());
            session.sharing().revokePermission(
                std::move(request.withPermissionId(permission.getPermissionId())));
            found = true;
        }
    }
    if (!found) {
        throw Failure(ExitCode::NOT_FOUND, user, "nothing is granted on " + name.text());
    }
}

void grants(const Session& session, Invocation& invocation) {
    const RemoteName name = RemoteName::parse(invocation.text("REMOTE"));
    for (const kvxclient::Permission& permission : permissionsOn(session, name)) {
        const std::string user = toUtf8(permission.getSubject());
        invocation.out.print({{"subject", user},
                              {"operation", permission.getOperation()},
                              {"status", permission.getStatus()}},
                             shown(user) + "  " + readable(permission.getOperation()) + "  " +
                                 readable(permission.getStatus()));
    }
}

}  // namespace

Command revokeCommand() {
    return {.name = "revoke",
            .summary = "Take back what was granted to a user",
            .group = "Sharing",
            .options = {argument("REMOTE", "A name in the store"),
                        option("--from", "USER", "The user's name").required()},
            .examples = {"kvx revoke /docs --from bob"},
            .run = inSession(revoke, "REMOTE")};
}

Command grantsCommand() {
    return {.name = "grants",
            .summary = "List what is granted on a file or folder",
            .group = "Sharing",
            .options = {argument("REMOTE", "A name in the store")},
            .notes = "Prints name, right and state of each user, but not what invitations gave.",
            .examples = {"kvx grants /docs"},
            .run = inSession(grants, "REMOTE")};
}

}  // namespace storage::kvxtool
