#include <pwd.h>
#include <unistd.h>

#include <optional>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "session/TokenOutput.h"

namespace storage::kvxtool {
namespace {

std::string loginName() {
    const passwd* user = getpwuid(geteuid());
    if (user == nullptr) {
        throw Failure(ExitCode::FAILED, "--user", "your login name is unknown: give a name");
    }
    return user->pw_name;
}

void init(const StoreLocation& location, Invocation& invocation) {
    const std::string user = invocation.has("--user") ? invocation.text("--user") : loginName();
    std::optional<TokenOutput> output;
    if (invocation.has("--token-file")) {
        output.emplace(invocation.text("--token-file"));
    }
    const std::string token = createStore(location, newBucketArgument(user));
    invocation.out.remark("created the store " + location.text() + " for " + user +
                          "; the token is kept in " +
                          LoginFile(location.loginUrl()).path().string());
    if (output) {
        output->write(token);
    }
}

}  // namespace

Command initCommand() {
    return {
        .name = "init",
        .summary = "Create a store and its first user",
        .group = "Administration",
        .options = {option("--user", "NAME",
                           "The user's name and bucket; your login name by default"),
                    option("--token-file", "FILE",
                           "Write the token to this new file too, readable for you only")},
        .notes =
            R"(The user is logged in: token and session are kept in the state folder, readable for you
only. The token is never shown again: --token-file makes a copy. A store that exists is
left alone.)",
        .examples = {"kvx init", "kvx init --store /srv/team.db --user ada"},
        .run = withStore(init)};
}

}  // namespace storage::kvxtool
