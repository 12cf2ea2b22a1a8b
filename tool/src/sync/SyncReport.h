#pragma once

#include <string>

#include "sync/SyncPlan.h"
#include "ui/Diagnostics.h"

namespace storage::kvxtool {

/// Counts and prints what a sync does or, in a dry run, would do.
class SyncReport {
public:
    /// What goes to standard output: nothing, a summary for people, each action too, or all of it
    /// for programs.
    enum class Lines { NONE, SUMMARY, ACTIONS, JSON };

    SyncReport(Diagnostics& diagnostics, Lines lines, bool up, bool dryRun)
        : diagnostics_(diagnostics), lines_(lines), up_(up), dryRun_(dryRun) {}

    void begin();
    void deleted(const SyncStep& step);
    void created(const SyncStep& step);
    void transferred(const std::string& path, unsigned long bytes);
    /// Prints the summary, unless there was nothing to do again.
    void end(std::size_t unchanged);

private:
    void print(const char* action, const std::string& path, unsigned long bytes);
    void printSummary(std::size_t unchanged, std::size_t failed) const;

    Diagnostics& diagnostics_;
    const Lines lines_;
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
