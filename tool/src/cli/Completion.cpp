#include "cli/Completion.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "remote/RemoteName.h"

namespace storage::kvxtool {
namespace {

// What arguments and values of options are called that are local names, or local or remote ones.
constexpr std::array<std::string_view, 3> LOCAL{"LOCAL", "FILE", "URL"};
constexpr std::array<std::string_view, 3> EITHER{"NAMES", "SOURCE", "TARGET"};

bool takesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

bool isHidden(const CLI::App& command) { return command.get_group().empty(); }

/// The values that an option is limited to: its type reads "{a,b}" then.
std::vector<std::string> valuesOf(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    const std::size_t open = type.find('{');
    const std::size_t close = type.find('}');
    if (open == std::string::npos || close == std::string::npos) {
        return {};
    }
    return CLI::detail::split(type.substr(open + 1, close - open - 1), ',');
}

Completion::Names namesOf(const CLI::Option& option, const std::string& typed) {
    const std::string name =
        option.get_positional() ? option.get_name(true) : option.get_type_name();
    if (name == "REMOTE") {
        return Completion::Names::REMOTE;
    }
    const auto isOneOf = [&](const auto& words) {
        return std::find(words.begin(), words.end(), name) != words.end();
    };
    if (isOneOf(EITHER)) {
        return RemoteName::isRemote(typed) ? Completion::Names::REMOTE : Completion::Names::LOCAL;
    }
    return isOneOf(LOCAL) ? Completion::Names::LOCAL : Completion::Names::NONE;
}

}  // namespace

TypedLine::TypedLine(const std::string& line, const std::string& breaks) : words(1) {
    char quote = '\0';
    bool escape = false;
    bool inWord = false;
    for (const char c : line) {
        const bool space = c == ' ' || c == '\t' || c == '\n';
        if (!escape && quote == '\0' && space) {
            if (inWord) {
                words.emplace_back();
                cut = 0;
            }
            inWord = false;
            continue;
        }
        inWord = true;
        if (escape) {
            words.back() += c;
            escape = false;
        } else if (c == '\\' && quote != '\'') {
            escape = true;
        } else if (quote != '\0' ? c == quote : c == '"' || c == '\'') {
            quote = quote != '\0' ? '\0' : c;
        } else {
            words.back() += c;
            if (quote == '\0' && breaks.find(c) != std::string::npos) {
                cut = words.back().size();
            }
        }
    }
}

Completion::Completion(const CLI::App& program, const TypedLine& line) : command_(&program) {
    for (std::size_t i = 1; i + 1 < line.words.size(); ++i) {
        readWord(line.words[i]);
    }
    complete(line.words.back());
}

void Completion::readWord(const std::string& word) {
    if (awaitsValue_ != nullptr) {
        setValue(*std::exchange(awaitsValue_, nullptr), word);
    } else if (!optionsEnded_ && word == "--") {
        optionsEnded_ = true;
    } else if (!optionsEnded_ && word.size() > 1 && word.starts_with('-')) {
        readOption(word);
    } else if (const CLI::App* command = findCommand(word)) {
        command_ = command;
    } else {
        ++positionals_;
    }
}

void Completion::readOption(const std::string& word) {
    if (word.starts_with("--")) {
        const std::size_t equals = word.find('=');
        const CLI::Option* option = findOption(word.substr(2, equals - 2), true);
        if (option != nullptr && takesValue(*option)) {
            if (equals == std::string::npos) {
                awaitsValue_ = option;
            } else {
                setValue(*option, word.substr(equals + 1));
            }
        }
        return;
    }
    for (std::size_t i = 1; i < word.size(); ++i) {
        const CLI::Option* option = findOption(word.substr(i, 1), false);
        if (option != nullptr && takesValue(*option)) {
            awaitsValue_ = i + 1 == word.size() ? option : nullptr;
            return;
        }
    }
}

const CLI::Option* Completion::findOption(const std::string& name, bool isLong) const {
    for (const CLI::App* app = command_; app != nullptr; app = app->get_parent()) {
        const auto found = app->get_options([&](const CLI::Option* option) {
            return isLong ? option->check_lname(name) : option->check_sname(name);
        });
        if (!found.empty()) {
            return found.front();
        }
    }
    return nullptr;
}

const CLI::App* Completion::findCommand(const std::string& name) const {
    if (positionals_ > 0) {
        return nullptr;
    }
    const auto found = command_->get_subcommands(
        [&](const CLI::App* command) { return command->check_name(name); });
    return found.empty() ? nullptr : found.front();
}

const CLI::Option* Completion::nextPositional() const {
    std::size_t before = positionals_;
    for (const CLI::Option* option : command_->get_options()) {
        if (!option->get_positional()) {
            continue;
        }
        const auto most = static_cast<std::size_t>(option->get_items_expected_max());
        if (before < most) {
            return option;
        }
        before -= most;
    }
    return nullptr;
}

void Completion::setValue(const CLI::Option& option, const std::string& value) {
    if (option.check_lname("store")) {
        store_ = value;
    }
}

void Completion::complete(const std::string& word) {
    const std::size_t equals = word.find('=');
    if (awaitsValue_ != nullptr) {
        completeValue(*awaitsValue_, word, "");
    } else if (!optionsEnded_ && word.starts_with("--") && equals != std::string::npos) {
        if (const CLI::Option* option = findOption(word.substr(2, equals - 2), true)) {
            completeValue(*option, word.substr(equals + 1), word.substr(0, equals + 1));
        }
    } else if (!optionsEnded_ && word.starts_with('-')) {
        for (const CLI::App* app = command_; app != nullptr; app = app->get_parent()) {
            addOptions(*app, word);
        }
    } else if (const CLI::Option* positional = nextPositional()) {
        completeValue(*positional, word, "");
        if (positional->get_name(true) == "COMMAND" && positionals_ == 0) {
            addCommands(*command_->get_parent(), word);
        }
    } else if (positionals_ == 0) {
        addCommands(*command_, word);
    }
}

void Completion::completeValue(const CLI::Option& option, const std::string& typed,
                               const std::string& before) {
    for (const std::string& value : valuesOf(option)) {
        if (value.starts_with(typed)) {
            candidates_.push_back({before + value, ""});
        }
    }
    names_ = namesOf(option, typed);
}

void Completion::addOptions(const CLI::App& command, const std::string& typed) {
    for (const CLI::Option* option : command.get_options()) {
        const auto& longNames = option->get_lnames();
        const auto& shortNames = option->get_snames();
        const std::string name = !longNames.empty()    ? "--" + longNames.front()
                                 : !shortNames.empty() ? "-" + shortNames.front()
                                                       : "";
        // A command's own option hides the program's.
        const bool hidden = std::any_of(candidates_.begin(), candidates_.end(),
                                        [&](const auto& known) { return known.text == name; });
        if (!name.empty() && !hidden && !option->get_group().empty() && name.starts_with(typed)) {
            candidates_.push_back({name, option->get_description()});
        }
    }
}

void Completion::addCommands(const CLI::App& parent, const std::string& typed) {
    for (const CLI::App* command :
         parent.get_subcommands([](const CLI::App* each) { return !isHidden(*each); })) {
        if (command->get_name().starts_with(typed)) {
            candidates_.push_back({command->get_name(), command->get_description()});
        }
    }
}

}  // namespace storage::kvxtool
