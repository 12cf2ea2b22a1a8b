#include "ui/Diagnostics.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "ui/Output.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

constexpr std::size_t NAMED_OF_A_KIND = 3;
constexpr std::size_t NAMED_WITHOUT_ROOM = 10;

std::string lineOf(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// Without the middle of what would flood a screen.
std::string shortened(const std::string& text) {
    constexpr std::size_t longest = 600;
    constexpr std::size_t kept = 200;
    if (text.size() <= longest) {
        return text;
    }
    const auto isInside = [&](std::size_t at) {
        return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
    };
    std::size_t first = kept;
    std::size_t last = text.size() - kept;
    while (isInside(first)) {
        --first;
    }
    while (isInside(last)) {
        ++last;
    }
    return text.substr(0, first) + "[...]" + text.substr(last);
}

}  // namespace

void Diagnostics::fail(const Failure& reported) {
    const Failure failure = explain_ ? explain_(reported) : reported;
    const std::string text = failure.subject() + ": " + failure.what();
    const bool again = inPasses_ && (!told_.insert(text).second || toldBefore_.contains(text));
    // A reader that closed the pipe has seen enough and wants no message.
    if (!again && failure.code() != ExitCode::READER_GONE && !isOneOfMany(failure)) {
        printFailure(failure);
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
        printWarning("", "more fail for the same reason (-v names each)");
    }
    return true;
}

void Diagnostics::beginPass() {
    inPasses_ = true;
    toldBefore_ = std::exchange(told_, {});
    withoutRoom_.clear();
}

void Diagnostics::warn(const std::string& subject, const std::string& text) {
    printWarning(subject, text);
}

void Diagnostics::leaveOut(const std::string& subject, const std::string& kind) {
    if (++leftOut_[kind] <= NAMED_OF_A_KIND || verbose_) {
        printWarning(subject, "left out: " + kind);
    }
}

void Diagnostics::endLeavingOut() {
    for (const auto& [kind, count] : std::exchange(leftOut_, {})) {
        if (count > NAMED_OF_A_KIND && !verbose_) {
            printWarning(std::to_string(count - NAMED_OF_A_KIND) + " more",
                         "left out: " + kind + " (-v names each)");
        }
    }
}

void Diagnostics::printFailure(const Failure& failure) {
    if (json_) {
        printLine(lineOf({{"command", command_},
                          {"name", failure.subject()},
                          {"error", failure.what()},
                          {"exitCode", static_cast<int>(failure.code())}}));
    } else {
        printText(failure.subject(), failure.what());
    }
}

void Diagnostics::printWarning(const std::string& subject, const std::string& text) {
    if (json_) {
        printLine(lineOf({{"command", command_}, {"name", subject}, {"warning", text}}));
    } else {
        printText(subject, text);
    }
}

void Diagnostics::printText(const std::string& subject, const std::string& text) {
    // Escaped also in a pipe: a message is one line.
    printLine("kvx: " + command_ + ": " + shortened(escaped(subject)) +
              (subject.empty() ? "" : ": ") + shortened(escaped(text)) + "\n");
}

void Diagnostics::printLine(const std::string& line) {
    progress_.printAround([&] { std::fputs(line.c_str(), stderr); });
}

}  // namespace storage::kvxtool
