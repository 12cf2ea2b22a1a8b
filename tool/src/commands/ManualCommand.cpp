#include <iostream>
#include <sstream>

#include "commands/Commands.h"

namespace storage::kvxtool {
namespace {

const char* const DESCRIPTION =
    R"(kvx works with the files of a store: a cloud file store's content, kept on this machine or
reached over a network. Commands share the session that kvx login keeps.

What a command says of the work it has done goes to standard output, and what went wrong to
standard error, one line each, after the name of the command and of what it is about. One failure
does not stop the rest of a command's work.)";

const char* const FILES_AND_ENVIRONMENT = R"(.SH ENVIRONMENT
.TP
.B KVX_STORE
The store to work on, by URL or path, where
.B \-\-store
is not given.
.TP
.B KVX_TOKEN
The token to log in with, before any that is kept.
.TP
.B NO_COLOR
When it is set to anything but nothing, no colours are used.
.TP
.BR XDG_DATA_HOME ,\  XDG_STATE_HOME
The user's folders for data and state.
.TP
.B TZ
The zone of the times that are shown.
.SH FILES
.TP
.I ~/.local/share/kvx/store.db
The store where none is named.
.TP
.I ~/.local/state/kvx/login\-*
The tokens and sessions that are kept, one file for each store, readable for the user only.
.SH "OUTPUT FOR PROGRAMS"
With
.B \-\-json
commands that list or report print one JSON object a line. Their fields are stable: new ones may
come, none goes or changes its meaning. Times are RFC 3339 in UTC, sizes are in bytes, and names in
the store are as people write them. Which fields there are is in the guide that comes with the
sources,
.IR docs/guides/using\-the\-tool.md .
)";

/// Text as roff: what it would act on is escaped.
std::string roff(const std::string& text) {
    std::string result;
    bool lineBegins = true;
    for (const char c : text) {
        if (lineBegins && (c == '.' || c == '\'')) {
            result += "\\&";
        }
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else if (c == '\'') {
            result += "\\(aq";
        } else {
            result += c;
        }
        lineBegins = c == '\n';
    }
    return result;
}

/// Prose, with indented lines kept as they are.
void printText(const std::string& text) {
    std::istringstream lines(text);
    bool verbatim = false;
    bool paragraph = true;
    for (std::string line; std::getline(lines, line);) {
        const bool indented = line.starts_with("  ");
        if (indented != verbatim) {
            std::cout << (indented ? ".RS 2\n.nf\n" : ".fi\n.RE\n");
            verbatim = indented;
        }
        if (line.empty()) {
            paragraph = true;
            continue;
        }
        if (paragraph && !indented) {
            std::cout << ".PP\n";
        }
        paragraph = false;
        std::cout << roff(indented ? line.substr(2) : line) << '\n';
    }
    std::cout << (verbatim ? ".fi\n.RE\n" : "");
}

std::string usageOf(const CLI::Option& positional) {
    const std::string name =
        positional.get_name(true) + (positional.get_items_expected_max() > 1 ? "..." : "");
    return positional.get_required() ? name : "[" + name + "]";
}

void printOptions(const CLI::App& command) {
    for (const CLI::Option* option : command.get_options()) {
        const bool repeated = option == command.get_help_ptr() && command.get_parent() != nullptr;
        if (option->get_group().empty() || repeated) {
            continue;
        }
        std::string name = option->get_name(option->get_positional(), true);
        for (std::size_t comma = 0; (comma = name.find(',', comma)) != std::string::npos;) {
            name.insert(++comma, " ");
        }
        const bool valued = !option->get_positional() && option->get_items_expected_max() > 0;
        // What follows the colon says what a value is checked for.
        std::string value = valued ? " " + option->get_type_name() : "";
        value = value.substr(0, value.find(':'));
        std::cout << ".TP\n.B " << roff(name + value) << '\n'
                  << roff(option->get_description()) << '\n';
    }
}

void printCommand(const CLI::App& command, const std::string& before) {
    const std::string name = before + " " + command.get_name();
    std::string usage = name;
    for (const CLI::Option* option : command.get_options()) {
        usage += option->get_positional() ? " " + usageOf(*option) : "";
    }
    std::cout << ".SS \"" << roff(usage) << "\"\n" << roff(command.get_description()) << ".\n";
    printOptions(command);
    printText("\n" + command.get_footer());
    for (const CLI::App* each : command.get_subcommands(nullptr)) {
        printCommand(*each, name);
    }
}

void printManual(const CLI::App& program) {
    std::cout << ".TH KVX 1 \"\" \"" << roff(program.version()) << "\" \"User Commands\"\n"
              << ".SH NAME\nkvx \\- work with the files of a store\n"
              << ".SH SYNOPSIS\n.B kvx\n.RI [ OPTIONS ]\n.I COMMAND\n.RI [ ARGUMENTS ]\n"
              << ".SH DESCRIPTION\n";
    printText(DESCRIPTION);
    std::cout << ".SH OPTIONS\nThese may stand before or after any command.\n";
    printOptions(program);
    std::cout << ".SH COMMANDS\n";
    for (const CLI::App* command :
         program.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
        printCommand(*command, "kvx");
    }
    std::cout << ".SH \"NAMES, STORES AND EXIT CODES\"\n";
    printText(program.get_footer());
    std::cout << FILES_AND_ENVIRONMENT;
}

}  // namespace

void addManual(CLI::App& program, Invocation& invocation) {
    program.add_subcommand("manual", "Print the manual page in roff")
        ->group("")
        ->callback([&program, &invocation] {
            invocation.run = [&program](const StoreLocation&, Diagnostics&) {
                printManual(program);
            };
        });
}

}  // namespace storage::kvxtool
