#include "commands/Commands.h"
#include "commands/Running.h"
#include "ui/Prompt.h"

namespace storage::kvxtool {
namespace {

void logout(const StoreLocation& location, Invocation& invocation) {
    if (invocation.has("--force") || confirm("Your token cannot be shown again. Forget it?")) {
        dropLogin(location);
    }
}

}  // namespace

Command logoutCommand() {
    return {
        .name = "logout",
        .summary = "End the session and forget the token",
        .group = "Session",
        .options = {flag("-f,--force", "Do not ask on a terminal")},
        .notes =
            R"(The store cannot show a token again: make a copy of yours first. It is the first line of
the file login-* in the state folder, ~/.local/state/kvx.)",
        .examples = {"kvx logout"},
        .run = withStore(logout)};
}

}  // namespace storage::kvxtool
