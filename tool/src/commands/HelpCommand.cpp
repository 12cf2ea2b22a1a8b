#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <vector>

#include "cli/UsageError.h"
#include "commands/Commands.h"

namespace storage::kvxtool {
namespace {

std::string helpOf(const CLI::App& program, const std::vector<std::string>& names) {
    const CLI::App* command = &program;
    std::string path = program.get_name();
    for (const std::string& name : names) {
        const auto found =
            command->get_subcommands([&](const CLI::App* each) { return each->check_name(name); });
        if (found.empty()) {
            throw CLI::ValidationError(noSuchCommand(*command, name));
        }
        command = found.front();
        path += " " + name;
    }
    return command->get_formatter()->make_help(command, path, CLI::AppFormatMode::Normal);
}

}  // namespace

void addHelp(CLI::App& program, Invocation& invocation) {
    auto names = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("help", "Show what --help shows of a command");
    command->add_option("COMMAND", *names, "A command; all of them by default")->type_name("");
    command->footer(
        "Examples:\n"
        "  kvx help\n"
        "  kvx help policy set");
    command->callback([&program, names, &invocation] {
        invocation.run = [text = helpOf(program, *names)](const StoreLocation&, Diagnostics&) {
            std::cout << text;
        };
    });
}

}  // namespace storage::kvxtool
