#include <unistd.h>

#include <fstream>
#include <iostream>
#include <memory>

#include "commands/Commands.h"
#include "session/OpenStore.h"
#include "session/TokenOutput.h"
#include "ui/Prompt.h"

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

struct LoginOptions {
    std::string tokenFile;
    bool force = false;
};

/// Another token, which nobody can tell again, is not lost without a word.
void requireReplaceable(const StoreLocation& location, const std::string& token) {
    const std::optional<Login> kept = LoginFile(location.url()).read();
    const bool asked = isatty(STDIN_FILENO) != 0;
    if (kept && kept->token != token &&
        !(asked &&
          confirm("Another token is kept here, and nobody can tell it again. Replace it?"))) {
        throw Failure(ExitCode::CONFLICT, location.text(),
                      "another token is kept for this store: -f replaces it");
    }
}

void login(const StoreLocation& location, const LoginOptions& options,
           const Invocation& invocation) {
    const auto client = openStore(location);
    const std::string token = readToken(options.tokenFile);
    if (token.empty()) {
        throw Failure(ExitCode::REFUSED, location.text(), "no token was given");
    }
    if (!options.force) {
        requireReplaceable(location, token);
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
    auto options = std::make_shared<LoginOptions>();
    CLI::App* command = program.add_subcommand("login", "Keep a session with the store");
    command
        ->add_option("--token-file", options->tokenFile,
                     "Read the token from the first line of this file")
        ->type_name("FILE");
    command->add_flag("-f,--force", options->force, "Replace another token that is kept");
    command->footer(
        "Without --token-file the token is KVX_TOKEN, or else a line of standard input; on a\n"
        "terminal it is asked for. Token and session are kept in the state folder, readable for\n"
        "you only. The session is renewed when it is over, until kvx logout.\n"
        "\n"
        "Examples:\n"
        "  kvx login\n"
        "  kvx login --store /srv/team.db --token-file token");
    command->callback([options, &invocation] {
        invocation.run = [options, &invocation](const StoreLocation& location,
                                                Diagnostics& diagnostics) {
            diagnostics.guard(location.text(), [&] { login(location, *options, invocation); });
        };
    });
}

void addLogout(CLI::App& program, Invocation& invocation) {
    auto force = std::make_shared<bool>(false);
    CLI::App* command = program.add_subcommand("logout", "End the session and forget the token");
    command->add_flag("-f,--force", *force, "Do not ask on a terminal");
    command->footer(
        "The store cannot tell a token again: have a copy of yours before. It is the first line\n"
        "of the file login-* in the state folder, ~/.local/state/kvx.\n"
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
