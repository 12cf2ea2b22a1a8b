#include <pwd.h>
#include <unistd.h>

#include <iostream>

#include "commands/Commands.h"
#include "session/OpenStore.h"
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

struct InitOptions {
    std::string user;
    std::string tokenFile;
};

void init(const StoreLocation& location, const InitOptions& options, const Invocation& invocation) {
    const std::string user = options.user.empty() ? loginName() : options.user;
    std::optional<TokenOutput> output;
    if (!options.tokenFile.empty()) {
        output.emplace(options.tokenFile);
    }
    const std::string token = createStore(location, newBucketArgument(user));
    if (!invocation.quiet && !invocation.json) {
        std::cout << "created the store " << location.text() << " for " << user
                  << "; the token is kept in " << LoginFile(location.url()).path().string() << '\n';
    }
    if (output) {
        output->write(token);
    }
}

}  // namespace

void addInit(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<InitOptions>();
    CLI::App* command = program.add_subcommand("init", "Create a store and its first user");
    command
        ->add_option("--user", options->user,
                     "The user's name and bucket; your login name by default")
        ->type_name("NAME");
    command
        ->add_option("--token-file", options->tokenFile,
                     "Write the token to this new file too, readable for you only")
        ->type_name("FILE");
    command->footer(
        "The user is logged in: token and session are kept in the state folder, readable for you\n"
        "only. Nobody can tell the token again: --token-file makes a copy. A store that exists is\n"
        "left alone.\n"
        "\n"
        "Examples:\n"
        "  kvx init\n"
        "  kvx init --store /srv/team.db --user ada");
    command->callback([options, &invocation] {
        invocation.run = [options, &invocation](const StoreLocation& location,
                                                Diagnostics& diagnostics) {
            diagnostics.guard(location.text(), [&] { init(location, *options, invocation); });
        };
    });
}

}  // namespace storage::kvxtool
