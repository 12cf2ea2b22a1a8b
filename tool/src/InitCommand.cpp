#include <pwd.h>
#include <unistd.h>

#include <iostream>

#include "Commands.h"
#include "Session.h"
#include "Text.h"

namespace storage::kvxtool {
namespace {

std::string loginName() {
    const passwd* user = getpwuid(geteuid());
    if (user == nullptr) {
        throw Failure(ExitCode::FAILED, "--user", "your login name is unknown: give a name");
    }
    return user->pw_name;
}

void init(const StoreLocation& location, const std::string& userOption, bool quiet) {
    const std::string user = userOption.empty() ? loginName() : userOption;
    const std::optional<std::u16string> name = toUtf16(user);
    if (!name) {
        throw Failure(ExitCode::REFUSED, user, "the name is not valid UTF-8");
    }
    createStore(location, *name);
    if (!quiet) {
        std::cout << "created the store " << location.text() << " for " << user << '\n';
    }
}

}  // namespace

void addInit(CLI::App& program, Invocation& invocation) {
    auto user = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("init", "Create a store and its first user");
    command->add_option("--user", *user, "The user's name and bucket; your login name by default")
        ->type_name("NAME");
    command->footer(
        "The user's token is kept in the state folder, readable for you only. A store that exists\n"
        "is left alone.\n"
        "\n"
        "Examples:\n"
        "  kvx init\n"
        "  kvx init --store /srv/team.db --user ada");
    command->callback([user, &invocation] {
        invocation.run = [user, quiet = &invocation.quiet](const StoreLocation& location,
                                                           Diagnostics& diagnostics) {
            diagnostics.guard(location.text(), [&] { init(location, *user, *quiet); });
        };
    });
}

}  // namespace storage::kvxtool
