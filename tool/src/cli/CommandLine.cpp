#include "cli/CommandLine.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <cerrno>
#include <iostream>
#include <memory>
#include <system_error>
#include <utility>

#include "cli/UsageError.h"
#include "ui/SignalWatch.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// The parser would read "[a,b]" as a list and "++" as an end of options: it is shown another first
/// character.
constexpr char PROTECTION = '\x01';

std::string protectedWord(std::string word) {
    const bool list = word.starts_with('[') && word.ends_with(']');
    return list || word == "++" || word.starts_with(PROTECTION) ? PROTECTION + word : word;
}

std::string plainWord(const std::string& word) {
    return word.starts_with(PROTECTION) ? word.substr(1) : word;
}

std::vector<std::string> plainWords(std::vector<std::string> words) {
    std::transform(words.begin(), words.end(), words.begin(), plainWord);
    return words;
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

/// The parser of a program's command line.
class Parser {
public:
    explicit Parser(const Command& program)
        : program_(program), app_(program.summary, program.name) {
        app_.set_version_flag("-V,--version", "", "Show the version");
        app_.fallthrough();
        app_.formatter(std::make_shared<HelpFormatter>());
        app_.get_formatter()->label("SUBCOMMAND", "COMMAND");
        app_.get_formatter()->label("Positionals", "Arguments");
        add(app_, program);
    }

    /// Throws what the parser throws.
    void parse(std::vector<std::string> words) {
        words_ = words;
        std::transform(words.begin(), words.end(), words.begin(), protectedWord);
        std::reverse(words.begin(), words.end());  // The parser expects them so.
        app_.parse(std::move(words));
    }

    /// The commands that were parsed, from the program to the innermost one.
    std::vector<const Command*> commands() const {
        std::vector<const Command*> commands{&program_};
        for (const CLI::App* app = &app_; !app->get_subcommands().empty();) {
            app = app->get_subcommands().front();
            commands.push_back(commands.back()->find(app->get_name()));
        }
        return commands;
    }

    /// The values of all their options.
    Invocation::Values values() const {
        Invocation::Values values;
        for (const Command* command : commands()) {
            for (const Option& option : command->options) {
                auto given = plainWords(options_.at(&option)->results());
                if (given.empty() && !option.initial.empty()) {
                    given.push_back(option.initial);
                }
                for (const std::string& name : option.allNames()) {
                    values[name] = given;
                }
            }
        }
        return values;
    }

    std::string reasonFor(const CLI::ParseError& error) const {
        const Command& command = *commands().back();
        RefusedLine line{kindOf(error), program_, command,     plainWords(app_.remaining(true)),
                         words_,        {},       error.what()};
        for (const Command* each : commands()) {
            for (const Option& option : each->options) {
                line.counts.emplace_back(&option, options_.at(&option)->count());
            }
        }
        return kvxtool::reasonFor(line);
    }

    std::string help(const std::vector<const Command*>& path) const {
        const CLI::App* app = &app_;
        std::string name = program_.name;
        for (std::size_t i = 1; i < path.size(); ++i) {
            app = app->get_subcommand(path[i]->name);
            name += " " + path[i]->name;
        }
        return app->get_formatter()->make_help(app, name, CLI::AppFormatMode::Normal);
    }

private:
    static RefusedLine::Kind kindOf(const CLI::ParseError& error) {
        using Kind = RefusedLine::Kind;
        return dynamic_cast<const CLI::RequiredError*>(&error) != nullptr      ? Kind::MISSING
               : dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr ? Kind::COUNT
               : dynamic_cast<const CLI::RequiresError*>(&error) != nullptr    ? Kind::NEEDED
               : dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr    ? Kind::EXCLUDED
                                                                               : Kind::OTHER;
    }

    void add(CLI::App& app, const Command& command) {
        app.footer(command.footer());
        // Where sizes are shown, -h is for people to read them.
        app.set_help_flag(command.findOption("-h") == nullptr ? "-h,--help" : "--help",
                          "Show this help");
        for (const Option& option : command.options) {
            options_[&option] = add(app, option);
        }
        for (const Option& option : command.options) {
            if (!option.excluded.empty()) {
                options_.at(&option)->excludes(options_.at(command.findOption(option.excluded)));
            }
            if (!option.needed.empty()) {
                options_.at(&option)->needs(options_.at(command.findOption(option.needed)));
            }
        }
        for (const Command& each : command.commands) {
            CLI::App* added = app.add_subcommand(each.name, each.summary);
            added->group(each.group);
            add(*added, each);
        }
        app.require_subcommand(command.commands.empty() ? 0 : 1);
    }

    static CLI::Option* add(CLI::App& app, const Option& option) {
        if (option.isFlag()) {
            return app.add_flag(option.names, option.help)->disable_flag_override();
        }
        CLI::Option* added = app.add_option(option.names, CLI::callback_t(), option.help);
        added->type_name(option.value)->default_str(option.initial);
        added->required(option.count.least > 0);
        if (option.count.most == NO_LIMIT) {
            added->expected(CLI::detail::expected_max_vector_size);
        }
        if (option.count.least > 1) {
            added->expected(-static_cast<int>(option.count.least));
        }
        if (option.refusal) {
            const auto refuse = [&option](const std::string& value) {
                return option.refusal(plainWord(value));
            };
            added->check(CLI::Validator(refuse, option.range));
        }
        return added;
    }

    const Command& program_;
    CLI::App app_;
    std::map<const Option*, CLI::Option*> options_;
    std::vector<std::string> words_;
};

/// Refuses empty values: an unset variable of a script would otherwise do something else than
/// meant, such as find everything.
void requireValues(const std::vector<const Command*>& commands, const Invocation::Values& values) {
    if (commands.back()->isHidden()) {
        return;  // The shell asks what completes an empty line.
    }
    for (const Command* command : commands) {
        for (const Option& option : command->options) {
            const auto& given = values.at(option.shownName());
            if (std::find(given.begin(), given.end(), "") != given.end()) {
                throw UsageError((option.isArgument() ? "an argument" : option.shownName()) +
                                 " is empty");
            }
        }
    }
}

/// "user add"; empty for the program alone.
std::string commandPath(const std::vector<const Command*>& commands) {
    std::string name;
    for (std::size_t i = 1; i < commands.size(); ++i) {
        name += (i == 1 ? "" : " ") + commands[i]->name;
    }
    return name;
}

int refuse(const Command& program, const std::string& command, const std::string& reason) {
    std::cout.flush();
    std::cerr << program.name << ":" << (command.empty() ? "" : " " + command + ":") << " "
              << escaped(reason) << "\nTry: " << program.name
              << (command.empty() ? "" : " " + command) << " --help\n";
    return static_cast<int>(ExitCode::USAGE);
}

int endOutput(Diagnostics& diagnostics) {
    diagnostics.guard("standard output", [] {
        const bool failed = !std::cout;
        std::cout.clear();  // Writing the rest may show the cause.
        errno = 0;
        if (!std::cout.flush() || failed) {
            throw std::system_error(errno != 0 ? errno : EIO, std::generic_category());
        }
    });
    return static_cast<int>(diagnostics.exitCode());
}

int printToEnd(const std::string& text) {
    std::cout << text;
    Diagnostics diagnostics("help", false);
    return endOutput(diagnostics);
}

int runCommand(const Command& program, const std::vector<const Command*>& commands,
               const Invocation::Values& values, void (*exitNow)(int)) {
    const auto has = [&](const char* option) { return !values.at(option).empty(); };
    const Output output(has("--json"), has("--quiet"), has("--verbose"));
    Diagnostics diagnostics(commandPath(commands), output.isQuiet(), has("--verbose"),
                            output.isJson());
    const SignalWatch signals(diagnostics.progress(), exitNow);
    Invocation invocation(program, values, output, diagnostics);
    try {
        commands.back()->run(invocation);
    } catch (const Interrupted& interrupted) {
        std::cout.flush();
        return 128 + interrupted.signal();
    } catch (const UsageError& error) {
        return refuse(program, commandPath(commands), error.what());
    } catch (...) {
        diagnostics.fail(Failure::of("", std::current_exception()));
    }
    return endOutput(diagnostics);
}

}  // namespace

int runProgram(const Command& program, const std::vector<std::string>& arguments,
               void (*exitNow)(int)) {
    Parser parser(program);
    try {
        parser.parse(arguments);
        requireValues(parser.commands(), parser.values());
    } catch (const CLI::CallForHelp&) {
        return printToEnd(parser.help(parser.commands()));
    } catch (const CLI::CallForVersion&) {
        return printToEnd(program.version + "\n");
    } catch (const CLI::ValidationError& error) {  // In the words of what refused the value.
        return refuse(program, commandPath(parser.commands()), error.what());
    } catch (const CLI::ParseError& error) {
        return refuse(program, commandPath(parser.commands()), parser.reasonFor(error));
    } catch (const UsageError& error) {
        return refuse(program, commandPath(parser.commands()), error.what());
    }
    return runCommand(program, parser.commands(), parser.values(), exitNow);
}

std::string helpOf(const Command& program, const std::vector<std::string>& names) {
    std::vector<const Command*> path{&program};
    for (const std::string& name : names) {
        const Command* command = path.back()->find(name);
        if (command == nullptr) {
            throw UsageError(noSuchCommand(program, *path.back(), name));
        }
        path.push_back(command);
    }
    return Parser(program).help(path);
}

}  // namespace storage::kvxtool
