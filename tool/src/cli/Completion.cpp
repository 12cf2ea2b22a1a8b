#include "cli/Completion.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace storage::kvxtool {
namespace {

// How the help calls arguments and values that are local names, or local or remote ones.
constexpr std::array<std::string_view, 3> LOCAL{"LOCAL", "FILE", "URL"};
constexpr std::array<std::string_view, 3> EITHER{"NAMES", "SOURCE", "TARGET"};

Completion::Names namesOf(const Option& option) {
    const std::string& kind = option.isArgument() ? option.names : option.value;
    const auto isOneOf = [&](const auto& kinds) {
        return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
    };
    return kind == "REMOTE"  ? Completion::Names::REMOTE
           : isOneOf(EITHER) ? Completion::Names::EITHER
           : isOneOf(LOCAL)  ? Completion::Names::LOCAL
                             : Completion::Names::NONE;
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

Completion::Completion(const Command& program, const TypedLine& line)
    : program_(program), command_(&program) {
    for (std::size_t i = 1; i + 1 < line.words.size(); ++i) {
        readWord(line.words[i]);
    }
    complete(line.words.back());
}

void Completion::readWord(const std::string& word) {
    if (awaitsValue_ != nullptr) {
        if (std::exchange(awaitsValue_, nullptr)->names == "--store") {
            store_ = word;
        }
    } else if (!optionsEnded_ && word == "--") {
        optionsEnded_ = true;
    } else if (!optionsEnded_ && word.size() > 1 && word.starts_with('-')) {
        readOption(word);
    } else if (const Command* command = positionals_ > 0 ? nullptr : command_->find(word)) {
        command_ = command;
    } else {
        ++positionals_;
    }
}

void Completion::readOption(const std::string& word) {
    if (word.starts_with("--")) {
        const std::size_t equals = word.find('=');
        const Option* option = findOption(word.substr(0, equals));
        if (option != nullptr && !option->isFlag()) {
            awaitsValue_ = option;
            if (equals != std::string::npos) {
                readWord(word.substr(equals + 1));
            }
        }
        return;
    }
    for (std::size_t i = 1; i < word.size(); ++i) {
        const Option* option = findOption({'-', word[i]});
        if (option != nullptr && !option->isFlag()) {
            awaitsValue_ = i + 1 == word.size() ? option : nullptr;
            return;
        }
    }
}

const Option* Completion::findOption(const std::string& name) const {
    const Option* own = command_->findOption(name);
    return own != nullptr ? own : program_.findOption(name);
}

const Option* Completion::nextPositional() const {
    std::size_t before = positionals_;
    for (const Option& option : command_->options) {
        if (option.isArgument()) {
            if (before < option.count.most) {
                return &option;
            }
            before -= option.count.most;
        }
    }
    return nullptr;
}

void Completion::complete(const std::string& word) {
    const std::size_t equals = word.find('=');
    if (awaitsValue_ != nullptr) {
        completeValue(*awaitsValue_, word, "");
    } else if (!optionsEnded_ && word.starts_with("--") && equals != std::string::npos) {
        if (const Option* option = findOption(word.substr(0, equals))) {
            completeValue(*option, word.substr(equals + 1), word.substr(0, equals + 1));
        }
    } else if (!optionsEnded_ && word.starts_with('-')) {
        add("--help", "Show this help", word);
        if (command_ != &program_) {
            addOptions(*command_, word);
        }
        add("--version", "Show the version", word);
        addOptions(program_, word);
    } else if (const Option* positional = nextPositional()) {
        completeValue(*positional, word, "");
        if (positional->names == "COMMAND" && positionals_ == 0) {
            addCommands(program_, word);
        }
    } else if (positionals_ == 0) {
        addCommands(*command_, word);
    }
}

void Completion::completeValue(const Option& option, const std::string& typed,
                               const std::string& before) {
    for (const std::string& value : option.words) {
        if (value.starts_with(typed)) {
            candidates_.push_back({before + value, ""});
        }
    }
    names_ = namesOf(option);
}

void Completion::add(const std::string& text, const std::string& description,
                     const std::string& typed) {
    // A command's own option hides the program's.
    const bool hidden = std::any_of(candidates_.begin(), candidates_.end(),
                                    [&](const auto& known) { return known.text == text; });
    if (!hidden && text.starts_with(typed)) {
        candidates_.push_back({text, description});
    }
}

void Completion::addOptions(const Command& command, const std::string& typed) {
    for (const Option& option : command.options) {
        if (!option.isArgument()) {
            add(option.shownName(), option.help, typed);
        }
    }
}

void Completion::addCommands(const Command& parent, const std::string& typed) {
    for (const Command& command : parent.commands) {
        if (!command.isHidden()) {
            add(command.name, command.summary, typed);
        }
    }
}

}  // namespace storage::kvxtool
