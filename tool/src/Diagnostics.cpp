#include "Diagnostics.h"

#include <cstdio>
#include <utility>

#include "Text.h"

namespace storage::kvxtool {

void Diagnostics::fail(const Failure& reported) {
    const Failure failure = explain_ ? explain_(reported) : reported;
    const std::string text = failure.subject() + ": " + failure.what();
    const bool again = inPasses_ && (!told_.insert(text).second || toldBefore_.contains(text));
    // Who closed the pipe has seen enough, and wants no message.
    if (!again && failure.code() != ExitCode::READER_GONE) {
        print(failure.subject(), failure.what());
    }
    ++failures_;
    const bool first = exitCode_ == ExitCode::OK;
    exitCode_ = first || exitCode_ == failure.code() ? failure.code() : ExitCode::FAILED;
}

void Diagnostics::beginPass() {
    inPasses_ = true;
    toldBefore_ = std::exchange(told_, {});
}

void Diagnostics::warn(const std::string& subject, const std::string& text) {
    print(subject, text);
}

void Diagnostics::print(const std::string& subject, const std::string& text) {
    // Escaped wherever it goes: a message is one line.
    const std::string line = "kvx: " + command_ + ": " + escaped(subject) +
                             (subject.empty() ? "" : ": ") + escaped(text) + "\n";
    progress_.printAround([&] { std::fputs(line.c_str(), stderr); });
}

}  // namespace storage::kvxtool
