#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"

namespace storage::kvxtool {
namespace {

void grant(const Session& session, Invocation& invocation) {
    const RemoteName name = RemoteName::parse(invocation.text("REMOTE"));
    const std::string& user = invocation.text("--to");
    kvxclient::PermissionGrantRequest request(name.resource());
    request.withSubject(kvxclient::Subject().withSubjectName(utf16Argument(user)))
        .withOperation(invocation.has("--write") ? kvxclient::Operation::READ_WRITE
                                                 : kvxclient::Operation::READ)
        .withAllowNonExistingUser(invocation.has("--allow-unknown"));
    readEntry(session.files(), name);  // Whatever is missing after this is the user.
    if (refusedWith(kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND,
                    [&] { session.sharing().grantPermission(std::move(request)); })) {
        throw Failure(ExitCode::NOT_FOUND, user, "there is no such user");
    }
}

}  // namespace

Command grantCommand() {
    return {
        .name = "grant",
        .summary = "Let a user read what you own",
        .group = "Sharing",
        .options = {argument("REMOTE", "A name in the store"),
                    option("--to", "USER", "The user's name").required(),
                    flag("--write", "Let the user change and remove what is in it too"),
                    flag("--allow-unknown", "Accept the name of a user yet to be created")},
        .notes = "It holds for all below a folder. The user finds it under your bucket and path.",
        .examples = {"kvx grant /docs --to bob", "kvx grant team:/plans --to bob --write"},
        .run = inSession(grant, "REMOTE")};
}

}  // namespace storage::kvxtool
