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

const char* const OUTPUT_FOR_PROGRAMS =
    R"(With --json commands that list or report print one JSON object a line. Their fields are
stable: new ones may come, none goes or changes its meaning. Times are RFC 3339 in UTC, sizes are in
bytes, and names in the store are as people write them. Which fields there are is in the guide that
comes with the sources, docs/guides/using-the-tool.md.)";

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

std::string synopsisOf(const Option& argument) {
    const std::string name = argument.names + (argument.count.most > 1 ? "..." : "");
    return argument.count.least > 0 ? name : "[" + name + "]";
}

void printOption(const Option& option) {
    std::string names = option.names;
    for (std::size_t comma = 0; (comma = names.find(',', comma)) != std::string::npos;) {
        names.insert(++comma, " ");
    }
    const std::string value = option.value.empty() ? "" : " " + option.value;
    std::cout << ".TP\n.B " << roff(names + value) << '\n' << roff(option.help) << '\n';
}

void printOptions(const std::vector<Option>& options) {
    for (const Option& option : options) {
        printOption(option);
    }
}

void printCommand(const Command& command, const std::string& before) {
    const std::string name = before + " " + command.name;
    std::string usage = name;
    for (const Option& option : command.options) {
        usage += option.isArgument() ? " " + synopsisOf(option) : "";
    }
    std::cout << ".SS \"" << roff(usage) << "\"\n" << roff(command.summary) << ".\n";
    printOptions(command.options);
    printText("\n" + command.footer());
    for (const Command& each : command.commands) {
        printCommand(each, name);
    }
}

void manual(Invocation& invocation) {
    const Command& program = invocation.program;
    std::cout << ".TH KVX 1 \"\" \"" << roff(program.version) << "\" \"User Commands\"\n"
              << ".SH NAME\nkvx \\- work with the files of a store\n"
              << ".SH SYNOPSIS\n.B kvx\n.RI [ OPTIONS ]\n.I COMMAND\n.RI [ ARGUMENTS ]\n"
              << ".SH DESCRIPTION\n";
    printText(DESCRIPTION);
    std::cout << ".SH OPTIONS\nThese may stand before or after any command.\n";
    printOption(flag("--help", "Show this help"));
    printOption(flag("--version", "Show the version"));
    printOptions(program.options);
    std::cout << ".SH COMMANDS\n";
    for (const Command& command : program.commands) {
        if (!command.isHidden()) {
            printCommand(command, program.name);
        }
    }
    std::cout << ".SH \"NAMES, STORES AND EXIT CODES\"\n";
    printText(program.footer());
    std::cout << ".SH ENVIRONMENT\n";
    printOptions(
        {argument("KVX_STORE", "The store to work on, by URL or path, where --store is not given."),
         argument("KVX_CA_FILE",
                  "The authorities that may vouch for a server, a PEM file; those of "
                  "the system without it."),
         argument("KVX_CLIENT_CERT,KVX_CLIENT_KEY",
                  "Your own certificate and its key, PEM files, where a server asks for one."),
         argument("KVX_TOKEN", "The token to log in with, before any that is kept."),
         argument("NO_COLOR", "When it is set to anything but nothing, no colours are used."),
         argument("XDG_DATA_HOME,XDG_STATE_HOME", "The user's folders for data and state."),
         argument("TZ", "The zone of the times that are shown.")});
    std::cout << ".SH FILES\n";
    printOptions({argument("~/.local/share/kvx/store.db", "The store where none is named."),
                  argument("~/.local/state/kvx/login-*",
                           "The tokens and sessions that are kept, one file for each store, "
                           "readable for the user only.")});
    std::cout << ".SH \"OUTPUT FOR PROGRAMS\"\n";
    printText(OUTPUT_FOR_PROGRAMS);
}

}  // namespace

Command manualCommand() {
    return {
        .name = "manual", .summary = "Print the manual page in roff", .group = "", .run = manual};
}

}  // namespace storage::kvxtool
