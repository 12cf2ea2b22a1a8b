#pragma once

#include <string>
#include <vector>

#include "cli/Command.h"

namespace storage::kvxtool {

/// Runs the command that the command line names, or prints the help or the version that it asks
/// for. `exitNow` is called when a signal ends the process. Returns the exit code.
int runProgram(const Command& program, const std::vector<std::string>& arguments,
               void (*exitNow)(int exitCode));

/// What --help shows of the command that has these names, as {"user", "add"}. Throws UsageError
/// when there is none.
std::string helpOf(const Command& program, const std::vector<std::string>& names);

}  // namespace storage::kvxtool
