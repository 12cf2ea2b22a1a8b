#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <clocale>
#include <iostream>
#include <map>
#include <memory>

#include "cli/UsageError.h"
#include "commands/Commands.h"
#include "ui/Failure.h"
#include "ui/SignalWatch.h"

namespace storage::kvxtool {
namespace {

const char* const NAMES_AND_STORE =
    "Names in the store:\n"
    "  :/docs/a.txt      in your own bucket\n"
    "  team:/docs/a.txt  in the bucket \"team\"\n"
    "  /docs/a.txt       short for :/docs/a.txt, where no local name can be meant\n"
    "A local name with a colon before its first slash is written ./a:b. Names that begin with a\n"
    "dash follow --. Names are UTF-8, at most 255 characters long (an emoji is two), and neither\n"
    ". nor ..\n"
    "\n"
    "The store is the one that --store or KVX_STORE names, by URL (sqlite:///srv/store.db) or\n"
    "path, else kvx/store.db in the user's data folder (XDG_DATA_HOME, ~/.local/share). With\n"
    "KVX_TOKEN, a command logs in with that token and out again. Without it, all commands use the\n"
    "session that kvx login or kvx init keeps, with the token, in the user's state folder\n"
    "(XDG_STATE_HOME, ~/.local/state), readable for the user only.\n"
    "\n";

/// The parser reads "[a,b]" as a list and "++" as an end of options: as paths they say the same.
std::string protectedArgument(std::string argument) {
    const bool list = argument.starts_with('[') && argument.ends_with(']');
    return list || argument == "++" ? "./" + argument : argument;
}

/// Shows in the help of each command the options that all commands have.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_footer(const CLI::App* command) const override {
        std::string footer = Formatter::make_footer(command);
        if (command->get_parent() == nullptr) {
            return footer;
        }
        const CLI::App* program = command;
        while (program->get_parent() != nullptr) {
            program = program->get_parent();
        }
        const auto options = program->get_options([program](const CLI::Option* option) {
            return option != program->get_help_ptr() && option != program->get_version_ptr();
        });
        return make_group("Global options", false, options).substr(1) + "\n" + footer;
    }
};

/// Sorts the commands into the parts of the help; those that are hidden stay so.
void groupCommands(CLI::App& program) {
    const std::map<std::string, std::vector<std::string>> groups = {
        {"Sync", {"sync", "watch"}},
        {"Versions", {"versions", "restore"}},
        {"Sharing",
         {"grant", "revoke", "grants", "invite", "invitations", "accept", "decline", "uninvite",
          "shared"}},
        {"Configuration", {"df", "policy"}},
        {"Administration", {"init", "user", "bucket", "verify", "sweep", "statistics"}},
        {"Session", {"login", "logout"}},
        {"Help", {"help", "completion"}}};
    for (CLI::App* command : program.get_subcommands([](CLI::App*) { return true; })) {
        if (command->get_group().empty()) {
            continue;
        }
        command->group("Files");
        for (const auto& [group, names] : groups) {
            if (std::find(names.begin(), names.end(), command->get_name()) != names.end()) {
                command->group(group);
            }
        }
    }
}

void addCommands(CLI::App& program, Invocation& invocation) {
    program.set_help_flag("--help", "Show this help");
    program.set_version_flag("--version", "kvx " KVX_VERSION, "Show the version");
    program.footer(std::string(NAMES_AND_STORE) + EXIT_CODES);
    program.failure_message(usageError);
    program.require_subcommand(1);
    program.fallthrough();
    program.formatter(std::make_shared<HelpFormatter>());
    program.get_formatter()->label("SUBCOMMAND", "COMMAND");
    program.get_formatter()->label("Positionals", "Arguments");
    program.add_option("--store", invocation.store, "The store to work on, by URL or path")
        ->type_name("URL");
    program.add_flag("-q,--quiet", invocation.quiet,
                     "Show no progress, and say nothing but what went wrong");
    program.add_flag("-v,--verbose", invocation.verbose, "Say of each thing that it is done");
    program.add_flag("--json", invocation.json, "Print for programs: one JSON object a line");

    addPut(program, invocation);
    addGetAndCat(program, invocation);
    addLs(program, invocation);
    addTree(program, invocation);
    addDu(program, invocation);
    addFind(program, invocation);
    addStat(program, invocation);
    addMkdirAndRm(program, invocation);
    addMvAndCp(program, invocation);
    addSync(program, invocation);
    addWatch(program, invocation);
    addVersionsAndRestore(program, invocation);
    addGrants(program, invocation);
    addInvitations(program, invocation);
    addDfAndPolicy(program, invocation);
    addLoginAndLogout(program, invocation);
    addInit(program, invocation);
    addUser(program, invocation);
    addBucket(program, invocation);
    addMaintenance(program, invocation);
    addHelp(program, invocation);
    addCompletion(program, invocation);
    addManual(program, invocation);
    groupCommands(program);
}

int endOutput(Diagnostics& diagnostics) {
    diagnostics.guard("standard output", [] {
        const bool failed = !std::cout;
        std::cout.clear();  // What is left to write may tell why.
        errno = 0;
        if (!std::cout.flush() || failed) {
            throw std::system_error(errno != 0 ? errno : EIO, std::generic_category());
        }
    });
    return static_cast<int>(diagnostics.exitCode());
}

int run(const std::string& command, const Invocation& invocation) {
    Diagnostics diagnostics(command, invocation.quiet, invocation.verbose);
    const SignalWatch signals(diagnostics.progress());
    try {
        diagnostics.guard(
            "", [&] { invocation.run(StoreLocation::find(invocation.store), diagnostics); });
    } catch (const Interrupted& interrupted) {
        std::cout.flush();
        return 128 + interrupted.signal();
    }
    return endOutput(diagnostics);
}

}  // namespace

}  // namespace storage::kvxtool

int main(int argc, char** argv) {
    using namespace storage::kvxtool;
    std::ios::sync_with_stdio(false);
    if (fcntl(STDIN_FILENO, F_GETFD) < 0) {
        open("/dev/null", O_WRONLY);  // What is opened next must not be taken for standard input.
    }
    std::setlocale(LC_CTYPE, "C.UTF-8");  // Names are UTF-8 whatever the user's text is.

    CLI::App program("Works with the files of a store", "kvx");
    Invocation invocation;
    addCommands(program, invocation);
    std::vector<std::string> arguments(argv + 1, argv + argc);
    std::transform(arguments.begin(), arguments.end(), arguments.begin(), protectedArgument);
    std::reverse(arguments.begin(), arguments.end());  // As the parser takes them.
    try {
        program.parse(std::move(arguments));
        requireArguments(program);
    } catch (const CLI::ParseError& error) {
        if (program.exit(error) != 0) {
            return static_cast<int>(ExitCode::USAGE);
        }
        Diagnostics diagnostics("help", false);
        return endOutput(diagnostics);
    }
    return run(commandName(program), invocation);
}
