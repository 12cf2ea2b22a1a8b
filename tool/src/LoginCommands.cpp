#include <fstream>
#include <iostream>
#include <memory>

#include "Commands.h"
#include "OpenStore.h"
#include "Prompt.h"
#include "TokenOutput.h"

namespace storage::kvxtool {
namespace {

std::string withoutLineEnd(std::string line) {
    line.erase(line.find_last_not_of(" \t\r\n") + 1);
    return line;
}

std::string readToken(const std::string& file) {
    if (file.empty()) {
        const std::optional<std::string> token = tokenOfEnvironment();
        return token ? *token : withoutLineEnd(readSecret("Token: "));
    }
    std::ifstream input(file);
    std::string line;
    if (!std::getline(input, line)) {
        throw Failure(ExitCode::NOT_FOUND, file, "no token can be read from this file");
    }
    return withoutLineEnd(line);
}

void login(const StoreLocation& location, const std::string& tokenFile,
           const Invocation& invocation) {
    const auto client = openStore(location);
    const std::string token = readToken(tokenFile);
    if (token.empty()) {
        throw Failure(ExitCode::REFUSED, location.text(), "no token was given");
    }
    keepLogin(*client, location, token);
    if (!invocation.quiet && !invocation.json) {
        std::cout << "logged in to " << location.text() << '\n';
    }
}

void logout(const StoreLocation& location, bool force) {
    if (force || confirm("Nobody can tell you your token again. Forget it?")) {
        dropLogin(location);
    }
}

void addLogin(CLI::App& program, Invocation& invocation) {
    auto tokenFile = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("login", "Keep a session with the store");
    command
        ->add_option("--token-file", *tokenFile, "Read the token from the first line of this file")
        ->type_name("FILE");
    command->footer(
        "Without --token-file the token is KVX_TOKEN, or else a line of standard input; on a\n"
        "terminal it is asked for. Token and session are kept in the state folder, readable for\n"
        "you only, in place of those that are there. The session is renewed when it is over, "
        "until\n"
        "kvx logout.\n"
        "\n"
        "Examples:\n"
        "  kvx login\n"
        "  kvx login --store /srv/team.db --token-file token");
    command->callback([tokenFile, &invocation] {
        invocation.run = [tokenFile, &invocation](const StoreLocation& location,
                                                  Diagnostics& diagnostics) {
            diagnostics.guard(location.text(), [&] { login(location, *tokenFile, invocation); });
        };
    });
}

void addLogout(CLI::App& program, Invocation& invocation) {
    auto force = std::make_shared<bool>(false);
    CLI::App* command = program.add_subcommand("logout", "End the session and forget the token");
    command->add_flag("-f,--force", *force, "Do not ask on a terminal");
    command->footer(
        "The store cannot tell a token again: have a copy of yours before.\n"
        "\n"
        "Examples:\n"
        "  kvx logout");
    command->callback([force, &invocation] {
        invocation.run = [force](const StoreLocation& location, Diagnostics& diagnostics) {
            diagnostics.guard(location.text(), [&] { logout(location, *force); });
        };
    });
}

}  // namespace

void addLoginAndLogout(CLI::App& program, Invocation& invocation) {
    addLogin(program, invocation);
    addLogout(program, invocation);
}

}  // namespace storage::kvxtool
