#pragma once

#include <CLI/App.hpp>
#include <string>

namespace storage::kvxtool {

/// The command that was parsed, as "user add"; empty without one.
std::string commandName(const CLI::App& program);

/// What is wrong with the command line, in one line, and one that says where the help is.
std::string usageError(const CLI::App* program, const CLI::Error& error);

/// Throws CLI::ValidationError where an argument is empty: an unset variable of a script would
/// otherwise do what was never meant, such as find all where some were asked for.
void requireArguments(const CLI::App& program);

/// That `command` has no command of this name, and perhaps which one was meant.
std::string noSuchCommand(const CLI::App& command, const std::string& name);

}  // namespace storage::kvxtool
