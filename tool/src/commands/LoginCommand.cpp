#include <unistd.h>

#include <fstream>

#include "commands/Commands.h"
#include "commands/Running.h"
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

/// Throws Failure unless the token that is kept may be replaced: it could not be shown again.
void requireReplaceable(const StoreLocation& location, const std::string& token) {
    const std::optional<Login> kept = LoginFile(location.loginUrl()).read();
    const bool asked = isatty(STDIN_FILENO) != 0;
    if (kept && kept->token != token &&
        !(asked &&
          confirm("Another token is kept here, and it cannot be shown again. Replace it?"))) {
        throw Failure(ExitCode::CONFLICT, location.text(),
                      "another token is kept for this store: -f replaces it");
    }
}

void login(const StoreLocation& location, Invocation& invocation) {
    const auto client = openClient(location);
    const std::string token = readToken(invocation.text("--token-file"));
    if (token.empty()) {
        throw Failure(ExitCode::REFUSED, location.text(), "no token was given");
    }
    if (!invocation.has("--force")) {
        requireReplaceable(location, token);
    }
    keepLogin(*client, location, token);
    invocation.out.remark("logged in to " + location.text());
}

}  // namespace

Command loginCommand() {
    return {
        .name = "login",
        .summary = "Keep a session with the store",
        .group = "Session",
        .options = {option("--token-file", "FILE",
                           "Read the token from the first line of this file"),
                    flag("-f,--force", "Replace another token that is kept")},
        .notes =
            R"(Without --token-file the token is KVX_TOKEN, or else a line of standard input; on a
terminal it is asked for. Token and session are kept in the state folder, readable for
you only. The session is renewed when it is over, until kvx logout.)",
        .examples = {"kvx login", "kvx login --store /srv/team.db --token-file token"},
        .run = withStore(login)};
}

}  // namespace storage::kvxtool
