#include "ui/Diagnostics.h"

#include <cstdio>
#include <utility>

#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

constexpr std::size_t NAMED_OF_A_KIND = 3;
constexpr std::size_t NAMED_WITHOUT_ROOM = 10;

}  // namespace

void Diagnostics::fail(const Failure& reported) {
    const Failure failure = explain_ ? explain_(reported) : reported;
    const std::string text = failure.subject() + ": " + failure.what();
    const bool again = inPasses_ && (!told_.insert(text).second || toldBefore_.contains(text));
    // A reader that closed the pipe has seen enough and wants no message.
    if (!again && failure.code() != ExitCode::READER_GONE && !isOneOfMany(failure)) {
        print(failure.subject(), failure.what());
    }
    ++failures_;
    const bool first = exitCode_ == ExitCode::OK;
    exitCode_ = first || exitCode_ == failure.code() ? failure.code() : ExitCode::FAILED;
}

/// Once there is no room, most of the files that follow in a transfer fail in the same way.
bool Diagnostics::isOneOfMany(const Failure& failure) {
    if (failure.code() != ExitCode::NO_ROOM || verbose_ ||
        ++withoutRoom_[failure.what()] <= NAMED_WITHOUT_ROOM) {
        return false;
    }
    if (withoutRoom_[failure.what()] == NAMED_WITHOUT_ROOM + 1) {
        print("", "more fail for the same reason (-v names each)");
    }
    return true;
}

void Diagnostics::beginPass() {
    inPasses_ = true;
    toldBefore_ = std::exchange(told_, {});
    withoutRoom_.clear();
}

void Diagnostics::warn(const std::string& subject, const std::string& text) {
    print(subject, text);
}

void Diagnostics::leaveOut(const std::string& subject, const std::string& kind) {
    if (++leftOut_[kind] <= NAMED_OF_A_KIND || verbose_) {
        print(subject, "left out: " + kind);
    }
}

void Diagnostics::endLeavingOut() {
    for (const auto& [kind, count] : std::exchange(leftOut_, {})) {
        if (count > NAMED_OF_A_KIND && !verbose_) {
            print(std::to_string(count - NAMED_OF_A_KIND) + " more",
                  "left out: " + kind + " (-v names each)");
        }
    }
}

void Diagnostics::print(const std::string& subject, const std::string& text) {
    // Escaped also in a pipe: a message is one line.
    const std::string line = "kvx: " + command_ + ": " + escaped(subject) +
                             (subject.empty() ? "" : ": ") + escaped(text) + "\n";
    progress_.printAround([&] { std::fputs(line.c_str(), stderr); });
}

}  // namespace storage::kvxtool
