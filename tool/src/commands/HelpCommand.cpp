#include <iostream>

#include "cli/CommandLine.h"
#include "commands/Commands.h"

namespace storage::kvxtool {

Command helpCommand() {
    return {.name = "help",
            .summary = "Show what --help shows of a command",
            .group = "Help",
            .options = {argument("COMMAND", "A command; all of them by default", ANY_NUMBER)},
            .examples = {"kvx help", "kvx help policy set"},
            .run = [](Invocation& invocation) {
                std::cout << helpOf(invocation.program, invocation.texts("COMMAND"));
            }};
}

}  // namespace storage::kvxtool
