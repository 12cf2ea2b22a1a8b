#pragma once

#include <string>

#include "sync/SyncPlan.h"
#include "ui/Diagnostics.h"
#include "ui/Output.h"

namespace storage::kvxtool {

/// Counts and prints what a sync does or, in a dry run, would do.
class SyncReport {
public:
    SyncReport(const Output& out, Diagnostics& diagnostics, bool up, bool dryRun)
        : out_(out), diagnostics_(diagnostics), up_(up), dryRun_(dryRun) {}

    bool isVerbose() const { return out_.isVerbose(); }

    void begin();
    void deleted(const SyncStep& step);
    void created(const SyncStep& step);
    void transferred(const std::string& path, unsigned long bytes);
    /// Prints the summary, unless there was nothing to do again.
    void end(std::size_t unchanged);

private:
    void print(const char* action, const std::string& path, unsigned long bytes);
    std::string summary(std::size_t unchanged, std::size_t failed) const;

    const Output out_;
    Diagnostics& diagnostics_;
    const bool up_;
    const bool dryRun_;
    bool first_ = true;
    std::size_t failuresBefore_ = 0;
    std::size_t transferred_ = 0;
    unsigned long bytes_ = 0;
    std::size_t created_ = 0;
    std::size_t deleted_ = 0;
};

}  // namespace storage::kvxtool
