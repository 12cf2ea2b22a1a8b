#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/Command.h"

namespace storage::kvxtool {

/// What is wrong with the command line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A command line that the parser refused, as far as it was read.
struct RefusedLine {
    enum class Kind { MISSING, COUNT, NEEDED, EXCLUDED, OTHER };

    Kind kind = Kind::OTHER;
    const Command& program;
    const Command& command;               ///< The innermost one that was named.
    std::vector<std::string> unexpected;  ///< Words that are no part of it.
    std::vector<std::string> words;       ///< All of it.
    /// How often each option of the program and of the command was given.
    std::vector<std::pair<const Option*, std::size_t>> counts;
    std::string otherwise;  ///< The parser's own words.
};

/// What is wrong with the line.
std::string reasonFor(const RefusedLine& line);

/// That `command` has no command of this name, and perhaps which one was meant.
std::string noSuchCommand(const Command& program, const Command& command, const std::string& name);

}  // namespace storage::kvxtool
