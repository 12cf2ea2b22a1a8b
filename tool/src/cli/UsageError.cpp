#include "cli/UsageError.h"

#include <algorithm>
#include <sstream>
#include <utility>
#include <vector>

#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using Words = std::vector<std::string>;

/// What other programs call the commands.
const std::pair<const char*, const char*> SYNONYMS[] = {
    {"list", "ls"},    {"dir", "ls"},        {"ls", "list"},      {"rmdir", "rm"},
    {"del", "rm"},     {"delete", "rm"},     {"rm", "remove"},    {"remove", "rm"},
    {"del", "remove"}, {"delete", "remove"}, {"copy", "cp"},      {"move", "mv"},
    {"rename", "mv"},  {"ren", "mv"},        {"download", "get"}, {"upload", "put"},
    {"quota", "df"},   {"share", "invite"}};

/// How many characters are missing, too many, wrong or swapped with the next one.
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> distance(a.size() + 1,
                                                   std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                distance[i][j] = i + j;
                continue;
            }
            const std::size_t differs = a[i - 1] == b[j - 1] ? 0 : 1;
            distance[i][j] = std::min(
                {distance[i - 1][j] + 1, distance[i][j - 1] + 1, distance[i - 1][j - 1] + differs});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                distance[i][j] = std::min(distance[i][j], distance[i - 2][j - 2] + 1);
            }
        }
    }
    return distance[a.size()][b.size()];
}

/// ": did you mean ls?"; empty when nothing is near.
std::string suggestion(const std::string& typed, const Words& known) {
    const auto isKnown = [&](const char* word) {
        return std::find(known.begin(), known.end(), word) != known.end();
    };
    for (const auto& [synonym, word] : SYNONYMS) {
        if (typed == synonym && isKnown(word)) {
            return std::string(": did you mean ") + word + "?";
        }
    }
    std::string nearest;
    std::size_t least = typed.size() < 5 ? 2 : 3;  // All that is as far is too far.
    for (const std::string& word : known) {
        if (const std::size_t distance = editDistance(typed, word); distance < least) {
            least = distance;
            nearest = ": did you mean " + word + "?";
        }
    }
    return nearest;
}

Words commandsOf(const CLI::App& command) {
    Words names;
    for (const CLI::App* each : command.get_subcommands(nullptr)) {
        if (!each->get_group().empty()) {
            names.push_back(each->get_name());
        }
    }
    return names;
}

/// ": get or set", for the few commands that are in another one.
std::string choice(const CLI::App& command) {
    std::string text;
    if (command.get_parent() != nullptr) {
        for (const std::string& name : commandsOf(command)) {
            text += (text.empty() ? ": " : " or ") + name;
        }
    }
    return text;
}

std::string noSuchOption(const CLI::App& command, const std::string& option) {
    Words known;
    for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
        for (const CLI::Option* each : app->get_options()) {
            for (const std::string& name : each->get_lnames()) {
                known.push_back("--" + name);
            }
        }
    }
    const bool isShort = option.size() < 3;
    return option + ": there is no such option" +
           (isShort ? "" : suggestion(option.substr(0, option.find('=')), known));
}

/// The command that was parsed with those that it is a part of.
std::vector<const CLI::App*> parsedCommands(const CLI::App& program) {
    std::vector<const CLI::App*> commands{&program};
    while (!commands.back()->get_subcommands().empty()) {
        commands.push_back(commands.back()->get_subcommands().front());
    }
    return commands;
}

/// The parser's words for a value that it refuses, in ours: "--name: Value x not in range 0.010000
/// to 9.000000", "--name: x not in {a,b}".
std::string refusedValue(const std::string& what) {
    const std::string notInRange = " not in range ";
    const std::string notInSet = " not in {";
    const std::string value = ": Value ";
    const std::size_t range = what.rfind(notInRange);
    const std::size_t set = what.rfind(notInSet);
    std::ostringstream text;
    if (range != std::string::npos) {
        double first = 0;
        double last = 0;
        std::string to;
        std::istringstream(what.substr(range + notInRange.size())) >> first >> to >> last;
        const std::size_t typed = what.find(value);
        text << what.substr(0, typed) << ": "
             << what.substr(typed + value.size(), range - typed - value.size())
             << " is not a number from " << first << " to " << last;
    } else if (set != std::string::npos) {
        const std::size_t names = set + notInSet.size();
        text << what.substr(0, set) << " is none of "
             << what.substr(names, what.size() - names - 1);
    } else {
        text << what;
    }
    return text.str();
}

std::string reasonFor(const CLI::App& command, const Words& unexpected, const CLI::Error& error) {
    const bool needsCommand = !command.get_subcommands(nullptr).empty();
    const std::string what = error.what();
    const std::string kind = error.get_name();
    if (kind == "ValidationError") {
        return refusedValue(what);
    }
    if (needsCommand && !unexpected.empty() && !unexpected.front().starts_with('-')) {
        return noSuchCommand(command, unexpected.front());
    }
    const auto option = std::find_if(unexpected.begin(), unexpected.end(), [](const auto& word) {
        return word.starts_with('-') && word != "--";
    });
    if (option != unexpected.end()) {
        return noSuchOption(command, *option);
    }
    if (kind == "RequiredError" && needsCommand) {
        return "a command is needed" + choice(command);
    }
    const auto isSeveral = [](const CLI::Option* each) {
        return each->get_positional() && each->get_expected_min() > 1;
    };
    const auto several = command.get_options(isSeveral);
    if (!several.empty() && what.starts_with(several.front()->get_name(true))) {
        return "a source and a target are needed";
    }
    if (kind == "RequiredError") {
        return what.substr(0, what.find(' ')) + " is missing";
    }
    if (kind == "ArgumentMismatch") {
        const bool tooMany = what.find(": At Most") != std::string::npos;
        return what.substr(0, what.find(':')) +
               (tooMany ? " is given more than once" : " needs a value");
    }
    if (kind == "RequiresError") {
        return what.substr(0, what.find(' ')) + " needs " + what.substr(what.rfind(' ') + 1);
    }
    if (kind == "ExcludesError") {
        return what.substr(0, what.find(' ')) + " does not go with " +
               what.substr(what.rfind(' ') + 1);
    }
    return unexpected.empty() ? what : unexpected.front() + ": one argument too many";
}

}  // namespace

std::string commandName(const CLI::App& program) {
    std::string name;
    for (const CLI::App* command : parsedCommands(program)) {
        name += (name.empty() ? "" : " ") + (command == &program ? "" : command->get_name());
    }
    return name;
}

void requireArguments(const CLI::App& program) {
    for (const CLI::App* command : parsedCommands(program)) {
        if (command->get_group().empty()) {
            continue;  // The shell asks what completes an empty line.
        }
        for (const CLI::Option* option : command->get_options()) {
            const Words& values = option->results();
            if (std::find(values.begin(), values.end(), "") != values.end()) {
                throw CLI::ValidationError(
                    (option->get_positional() ? "an argument" : option->get_name()) + " is empty");
            }
        }
    }
}

std::string noSuchCommand(const CLI::App& command, const std::string& name) {
    const std::string meant = suggestion(name, commandsOf(command));
    return name + ": there is no such command" + (meant.empty() ? choice(command) : meant);
}

std::string usageError(const CLI::App* program, const CLI::Error& error) {
    const std::string reason =
        reasonFor(*parsedCommands(*program).back(), program->remaining(true), error);
    const std::string command = commandName(*program);
    return "kvx:" + (command.empty() ? "" : " " + command + ":") + " " + escaped(reason) + "\n" +
           "Try: kvx" + (command.empty() ? "" : " " + command) + " --help\n";
}

}  // namespace storage::kvxtool
