#pragma once

#include <string>
#include <vector>

#include "cli/Command.h"

namespace storage::kvxtool {

/// A command line up to the cursor, split as shells do it. The last word may be empty.
struct TypedLine {
    /// `breaks` are the characters at which the shell's editor begins a new word, unless quoted.
    TypedLine(const std::string& line, const std::string& breaks);

    std::vector<std::string> words;
    /// Where in the last word the part begins that the editor replaces.
    std::size_t cut = 0;
};

/// What can complete a command line, as the records of the commands say.
class Completion {
public:
    struct Candidate {
        std::string text;
        std::string description;
    };
    enum class Names { NONE, LOCAL, REMOTE, EITHER };

    Completion(const Command& program, const TypedLine& line);

    /// The commands, options or values that fit.
    const std::vector<Candidate>& candidates() const { return candidates_; }
    /// Which names can stand there instead.
    Names names() const { return names_; }
    /// The store that the line names; empty without one.
    const std::string& store() const { return store_; }

private:
    void readWord(const std::string& word);
    void readOption(const std::string& word);
    const Option* findOption(const std::string& name) const;
    const Option* nextPositional() const;

    void complete(const std::string& word);
    void completeValue(const Option& option, const std::string& typed, const std::string& before);
    void add(const std::string& text, const std::string& description, const std::string& typed);
    void addOptions(const Command& command, const std::string& typed);
    void addCommands(const Command& parent, const std::string& typed);

    const Command& program_;
    const Command* command_;
    const Option* awaitsValue_ = nullptr;
    bool optionsEnded_ = false;
    std::size_t positionals_ = 0;
    std::string store_;
    std::vector<Candidate> candidates_;
    Names names_ = Names::NONE;
};

}  // namespace storage::kvxtool
