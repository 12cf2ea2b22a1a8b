#include "Commands.h"

#include <memory>
#include <utility>
#include <vector>

namespace storage::kvxtool {

void Invocation::runInSession(std::function<void(const Session&, Diagnostics&)> action) {
    run = [action = std::move(action)](const StoreLocation& location, Diagnostics& diagnostics) {
        const Session session(location);
        action(session, diagnostics);
    };
}

CLI::App* addForEachName(CLI::App& program, Invocation& invocation, const std::string& name,
                         const std::string& description, NameAction action) {
    auto names = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand(name, description);
    command->add_option("REMOTE", *names, "Names in the store")->type_name("")->required();
    command->callback([names, action = std::move(action), &invocation] {
        invocation.runInSession([names, action](const Session& session, Diagnostics& diagnostics) {
            for (const std::string& argument : *names) {
                diagnostics.guard(
                    argument, [&] { action(session, diagnostics, RemoteName::parse(argument)); });
            }
        });
    });
    return command;
}

}  // namespace storage::kvxtool
