#include "cli/UsageError.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace storage::kvxtool {
namespace {

using Words = std::vector<std::string>;

/// What other programs call the commands.
const std::pair<const char*, const char*> SYNONYMS[] = {
    {"list", "ls"},    {"dir", "ls"},        {"ls", "list"},         {"rmdir", "rm"},
    {"del", "rm"},     {"delete", "rm"},     {"rm", "remove"},       {"remove", "rm"},
    {"del", "remove"}, {"delete", "remove"}, {"copy", "cp"},         {"move", "mv"},
    {"rename", "mv"},  {"ren", "mv"},        {"download", "get"},    {"upload", "put"},
    {"quota", "df"},   {"share", "invite"},  {"history", "versions"}};

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
    std::size_t least = typed.size() < 5 ? 2 : 3;  // The smallest distance that is too far.
    for (const std::string& word : known) {
        if (const std::size_t distance = editDistance(typed, word); distance < least) {
            least = distance;
            nearest = ": did you mean " + word + "?";
        }
    }
    return nearest;
}

Words commandsOf(const Command& command) {
    Words names;
    for (const Command& each : command.commands) {
        if (!each.isHidden()) {
            names.push_back(each.name);
        }
    }
    return names;
}

/// ": get or set", for the few commands that are in another one.
std::string choice(const Command& program, const Command& command) {
    std::string text;
    if (&command != &program) {
        for (const std::string& name : commandsOf(command)) {
            text += (text.empty() ? ": " : " or ") + name;
        }
    }
    return text;
}

std::string noSuchOption(const RefusedLine& line, const std::string& option) {
    Words known{"--help", "--version"};
    for (const Command* command : {&line.command, &line.program}) {
        for (const Option& each : command->options) {
            if (const std::string name = each.shownName(); name.starts_with("--")) {
                known.push_back(name);
            }
        }
    }
    const bool isShort = option.size() < 3;
    return option + ": there is no such option" +
           (isShort ? "" : suggestion(option.substr(0, option.find('=')), known));
}

/// What is wrong with the values of the words that are options: "--jobs" and "-rj" at the end,
/// "--quiet=x". Empty when nothing is.
std::string wrongValue(const RefusedLine& line) {
    for (const std::string& word : line.words) {
        if (word.size() < 2 || !word.starts_with('-')) {
            continue;
        }
        const bool isLong = word.starts_with("--");
        const std::size_t equals = isLong ? word.find('=') : std::string::npos;
        const std::string name = isLong ? word.substr(0, equals) : std::string{'-', word.back()};
        const Option* own = line.command.findOption(name);
        const Option* option = own != nullptr ? own : line.program.findOption(name);
        if (option != nullptr && option->isFlag() && equals != std::string::npos) {
            return option->shownName() + " takes no value";
        }
        if (option != nullptr && !option->isFlag() && &word == &line.words.back() &&
            (equals == std::string::npos || equals + 1 == word.size())) {
            return option->shownName() + " needs a value";
        }
    }
    return {};
}

/// What is wrong with how often the options are given.
std::string wrongCount(const RefusedLine& line) {
    if (std::string reason = wrongValue(line); !reason.empty()) {
        return reason;
    }
    for (const auto& [option, count] : line.counts) {
        const bool isShort = count < option->count.least;
        if (isShort && option->count.least > 1) {
            return "a source and a target are needed";
        }
        if (isShort && line.kind == RefusedLine::Kind::MISSING) {
            return option->shownName() + " is missing";
        }
        if (count > option->count.most && !option->isFlag()) {
            return option->shownName() + " is given more than once";
        }
    }
    return line.otherwise;
}

/// "-t does not go with -S", "--interval needs --watch"
std::string wrongCombination(const RefusedLine& line) {
    const auto isGiven = [&](const Option* option) {
        return std::any_of(line.counts.begin(), line.counts.end(), [&](const auto& each) {
            return each.first == option && each.second > 0;
        });
    };
    for (const auto& [option, count] : line.counts) {
        const Option* needed = line.command.findOption(option->needed);
        const Option* excluded = line.command.findOption(option->excluded);
        if (count > 0 && needed != nullptr && !isGiven(needed)) {
            return option->shownName() + " needs " + needed->shownName();
        }
        if (count > 0 && isGiven(excluded)) {
            return excluded->shownName() + " does not go with " + option->shownName();
        }
    }
    return line.otherwise;
}

}  // namespace

std::string reasonFor(const RefusedLine& line) {
    using Kind = RefusedLine::Kind;
    const bool needsCommand = !line.command.commands.empty();
    const Words& unexpected = line.unexpected;
    if (needsCommand && !unexpected.empty() && !unexpected.front().starts_with('-')) {
        return noSuchCommand(line.program, line.command, unexpected.front());
    }
    const auto option = std::find_if(unexpected.begin(), unexpected.end(), [](const auto& word) {
        return word.starts_with('-') && word != "--";
    });
    if (option != unexpected.end()) {
        return noSuchOption(line, *option);
    }
    if (line.kind == Kind::MISSING && needsCommand) {
        return "a command is needed" + choice(line.program, line.command);
    }
    if (line.kind == Kind::MISSING || line.kind == Kind::COUNT) {
        return wrongCount(line);
    }
    if (line.kind == Kind::NEEDED || line.kind == Kind::EXCLUDED) {
        return wrongCombination(line);
    }
    return unexpected.empty() ? line.otherwise : unexpected.front() + ": one argument too many";
}

std::string noSuchCommand(const Command& program, const Command& command, const std::string& name) {
    const std::string meant = suggestion(name, commandsOf(command));
    return name + ": there is no such command" + (meant.empty() ? choice(program, command) : meant);
}

}  // namespace storage::kvxtool
