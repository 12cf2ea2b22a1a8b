#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "transfer/CallWindow.h"
#include "ui/Diagnostics.h"

namespace storage::kvxtool {

/// Takes source, target and size of a file that is done.
using TransferDone = std::function<void(const std::string&, const std::string&, unsigned long)>;

/// How files are transferred.
struct TransferOptions {
    /// How many calls are on their way at once.
    std::size_t jobs = CallWindow<int>::MAX_CALLS;
    /// Called for each file done, where it is not empty.
    TransferDone done = {};
    /// Whether the caller says at the end how many failed.
    bool hasSummary = false;
    /// Left out of trees: the files of the store that they go into.
    std::vector<std::filesystem::path> storeFiles = {};
};

/// Counts the files of a transfer and reports each one that is done.
class TransferReport {
public:
    TransferReport(Diagnostics& diagnostics, const TransferOptions& options)
        : diagnostics_(diagnostics), done_(options.done), hasSummary_(options.hasSummary) {}

    void expect(unsigned long bytes);
    /// Shows the progress of what is expected.
    void begin();
    void done(const std::string& source, const std::string& target, unsigned long bytes);
    /// Says how far it came, as in "12 of 40 files were sent".
    void interrupted(const std::string& participle);
    /// Ends the progress, and says the same where so many failed that not each was named.
    void end(const std::string& participle);

private:
    void sayHowFar(const char* subject, const std::string& participle);

    Diagnostics& diagnostics_;
    TransferDone done_;
    bool hasSummary_;
    unsigned long expectedFiles_ = 0;
    unsigned long expectedBytes_ = 0;
    unsigned long files_ = 0;
    unsigned long bytes_ = 0;
};

}  // namespace storage::kvxtool
