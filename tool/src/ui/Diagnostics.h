#pragma once

#include <exception>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "ui/Failure.h"
#include "ui/Interruption.h"
#include "ui/Progress.h"

namespace storage::kvxtool {

/// What a command says on standard error, and the exit code that follows from it.
class Diagnostics {
public:
    /// With `json`, what it says is one object a line.
    Diagnostics(std::string command, bool quiet, bool verbose = false, bool json = false)
        : command_(std::move(command)), progress_(!quiet), verbose_(verbose), json_(json) {}

    /// Passes each failure through `explain`, which may return a better one, before it is
    /// reported. An empty function ends that.
    void explainWith(std::function<Failure(const Failure&)> explain) {
        explain_ = std::move(explain);
    }

    /// Reports a failure and remembers its exit code: the code of all failures when they agree,
    /// else ExitCode::FAILED. Of many that have no room for the same reason, only the first few are
    /// printed unless -v is given.
    void fail(const Failure& reported);

    /// Begins one pass of repeated work: a failure that the last pass had too counts, but is not
    /// printed again.
    void beginPass();

    /// Prints a warning, which is no failure.
    void warn(const std::string& subject, const std::string& text);

    /// Reports that something is left out because it is `kind`, as "a symbolic link". Without -v
    /// only the first few of a kind are named.
    void leaveOut(const std::string& subject, const std::string& kind);
    /// Reports how many were not named.
    void endLeavingOut();

    /// Calls `action`, and reports what it throws as a failure with `subject`. Returns whether
    /// nothing was thrown. Lets Interrupted and SessionEnded pass.
    template <class Action>
    bool guard(const std::string& subject, Action&& action) {
        try {
            action();
            return true;
        } catch (const Interrupted&) {
            throw;
        } catch (const SessionEnded&) {
            throw;
        } catch (...) {
            fail(Failure::of(subject, std::current_exception()));
            return false;
        }
    }

    Progress& progress() { return progress_; }
    ExitCode exitCode() const { return exitCode_; }
    /// How many failures there were.
    std::size_t failures() const { return failures_; }

private:
    bool isOneOfMany(const Failure& failure);
    void printFailure(const Failure& failure);
    void printWarning(const std::string& subject, const std::string& text);
    void printText(const std::string& subject, const std::string& text);
    void printLine(const std::string& line);

    std::string command_;
    Progress progress_;
    std::function<Failure(const Failure&)> explain_;
    ExitCode exitCode_ = ExitCode::OK;
    std::size_t failures_ = 0;
    bool verbose_;
    bool json_;
    std::map<std::string, std::size_t> leftOut_;      // By kind.
    std::map<std::string, std::size_t> withoutRoom_;  // By reason.
    bool inPasses_ = false;
    std::set<std::string> told_;  // In this pass.
    std::set<std::string> toldBefore_;
};

}  // namespace storage::kvxtool
