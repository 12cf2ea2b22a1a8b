#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "ui/Diagnostics.h"
#include "ui/Output.h"

// How to add a command: write the function that makes its record in a file of its own in commands/,
// declare it in commands/Commands.h, and add it to the list in Commands.cpp. Parser, help, manual
// page and completion follow from the record.
//
// A file may include files of its own room and of those after it in this order: Main, commands,
// cli, sync, transfer, remote, local, session, ui. The parser's headers are for cli/ only.

namespace storage::kvxtool {

/// How many values an option may have.
struct Count {
    std::size_t least = 0;
    std::size_t most = 1;
};

constexpr std::size_t NO_LIMIT = static_cast<std::size_t>(-1);
constexpr Count OPTIONAL{0, 1};
constexpr Count ONE{1, 1};
constexpr Count ANY_NUMBER{0, NO_LIMIT};
constexpr Count SOME{1, NO_LIMIT};
constexpr Count SOURCES_AND_TARGET{2, NO_LIMIT};

/// An option of a command, or one of its arguments.
struct Option {
    std::string names;  ///< "-r,--recursive"; an argument has one in capitals, "REMOTE".
    std::string help;
    Count count = {};
    std::string value = {};               ///< What the help calls the value; a flag has none.
    std::string initial = {};             ///< The value where none is given; the help shows it.
    std::string excluded = {};            ///< An option that does not go with this one.
    std::string needed = {};              ///< An option that must be there too.
    std::vector<std::string> words = {};  ///< The only values, where there are such.
    std::string range = {};               ///< How the help shows what the value must be.
    /// Says why a value is refused; empty text accepts it.
    std::function<std::string(const std::string& value)> refusal = {};

    Option required() &&;
    Option withInitial(std::string text) &&;
    Option without(std::string other) &&;
    Option together(std::string other) &&;
    Option oneOf(std::vector<std::string> allowed) &&;
    Option inRange(int first, int last) &&;
    Option inRange(double first, double last) &&;

    bool isArgument() const { return !names.starts_with('-'); }
    bool isFlag() const { return !isArgument() && value.empty(); }
    /// "-r" and "--recursive".
    std::vector<std::string> allNames() const;
    /// As messages name it: by its long name where it has one.
    std::string shownName() const;
};

Option flag(std::string names, std::string help);
Option option(std::string names, std::string value, std::string help);
Option argument(std::string name, std::string help, Count count = ONE);

class Invocation;

/// A command, or the program itself, which has the others.
struct Command {
    std::string name = {};
    std::string summary = {};
    std::string group = "Subcommands";  ///< Where the help lists it; what it hides has none.
    std::vector<Option> options = {};
    std::string notes = {};  ///< What the help says below the options.
    std::vector<std::string> examples = {};
    std::function<void(Invocation&)> run = {};
    std::vector<Command> commands = {};
    std::string version = {};  ///< Of the program itself.

    bool isHidden() const { return group.empty(); }
    /// Notes and examples.
    std::string footer() const;
    /// The command of that name; null without one.
    const Command* find(const std::string& command) const;
    /// The option that has this name, as "-r"; null without one.
    const Option* findOption(const std::string& option) const;
};

/// What the command line asks for, and where the answer goes.
class Invocation {
public:
    using Values = std::map<std::string, std::vector<std::string>>;

    /// `values` are by each name of each option; what was not given has its initial value or none.
    Invocation(const Command& ofProgram, Values values, const Output& output,
               Diagnostics& toDiagnostics)
        : program(ofProgram), out(output), diagnostics(toDiagnostics), values_(std::move(values)) {}

    const Command& program;
    const Output& out;
    Diagnostics& diagnostics;

    bool has(const std::string& option) const { return !texts(option).empty(); }
    /// The value of an option; empty without one.
    const std::string& text(const std::string& option) const;
    const std::vector<std::string>& texts(const std::string& option) const;
    /// Of an option whose values are in a range.
    double number(const std::string& option) const;

private:
    Values values_;
};

}  // namespace storage::kvxtool
