#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "remote/RemoteName.h"
#include "transfer/CallWindow.h"
#include "ui/Diagnostics.h"

// Most users of this header have nothing to do with the command line.
namespace CLI {
class App;
}

namespace storage::kvxtool {

/// Takes source, target and size of a file that is done.
using TransferDone = std::function<void(const std::string&, const std::string&, unsigned long)>;

/// How the command line wants files to be transferred.
struct TransferOptions {
    /// The calls at once.
    std::size_t jobs = CallWindow<int>::MAX_CALLS;
    /// A line of standard output for each file done: none, one for people or one for programs.
    enum class Lines { NONE, TEXT, JSON } lines = Lines::NONE;
    /// Called for each file done, where it is not empty.
    TransferDone done = {};
    /// Left out of trees: the file of the store that they go into.
    std::optional<std::filesystem::path> store = {};
};

struct Invocation;

/// The lines that -q, -v and --json ask for.
TransferOptions::Lines linesFor(const Invocation& invocation);

/// Adds -j to a command.
void addJobsOption(CLI::App& command, TransferOptions& options);

/// Counts the files of a transfer, and says of each that it is done.
class TransferReport {
public:
    TransferReport(Diagnostics& diagnostics, const TransferOptions& options)
        : diagnostics_(diagnostics), lines_(options.lines), done_(options.done) {}

    void expect(unsigned long bytes);
    /// Shows the progress of what is expected.
    void begin();
    void done(const std::string& source, const std::string& target, unsigned long bytes);
    /// Says how far it came, as in "12 of 40 files were sent".
    void interrupted(const std::string& participle);
    /// The same where so many failed that it cannot be seen from what was said of each.
    void end(const std::string& participle);

private:
    void sayHowFar(const char* subject, const std::string& participle);

    Diagnostics& diagnostics_;
    TransferOptions::Lines lines_;
    TransferDone done_;
    unsigned long expectedFiles_ = 0;
    unsigned long expectedBytes_ = 0;
    unsigned long files_ = 0;
    unsigned long bytes_ = 0;
};

}  // namespace storage::kvxtool
