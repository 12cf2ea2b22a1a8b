#include "client/Call.h"

#include <sys/random.h>

#include <algorithm>
#include <random>
#include <stdexcept>

#include "protocol/Headers.h"
#include "protocol/Percent.h"

namespace storage::kvxremote {

namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

constexpr auto firstPause = 100ms;
constexpr auto longestPause = 5'000ms;
/// All attempts begin within this time.
constexpr auto patience = 30s;

std::string newCallId() {
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("the system gives no random numbers");
    }
    constexpr std::string_view digits = "0123456789abcdef";
    std::string id;
    for (const unsigned char byte : bytes) {
        id += digits[byte >> 4U];
        id += digits[byte & 15U];
    }
    return id;
}

/// Half of the pause to all of it, so that clients that failed together do not return together.
std::chrono::milliseconds withJitter(std::chrono::milliseconds pause) {
    thread_local std::minstd_rand random(std::random_device{}());
    return std::chrono::milliseconds(
        std::uniform_int_distribution<std::int64_t>(pause.count() / 2, pause.count())(random));
}

bool isVisibleAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7F'; });
}

}  // namespace

void Call::identify(const kvxtransport::Caller& caller, bool needsSession) {
    auto& headers = exchange.request.headers;
    if (needsSession) {
        session_ = caller.sessionId();
        if (!isVisibleAscii(session_)) {  // No header may hold it, and none such is given out.
            fail(kvxclient::KVXClientErrorCode::INVALID_SESSION_ID, {});
        } else if (!session_.empty()) {
            headers.emplace_back(headers::authorization, "Bearer " + session_);
        }
    }
    const auto add = [&](std::string_view name, const std::string& text) {
        if (!text.empty()) {
            headers.emplace_back(name, percentEncode(text));
        }
    };
    add(headers::application, caller.applicationId());
    add(headers::origin, caller.originId());
    add(headers::client, caller.clientString());
    add(headers::clientType, caller.clientType());
    if (repeatable_ != Repeatable::READ) {
        headers.emplace_back(headers::call, newCallId());
    }
}

void Call::beginAttempt(const std::string& boot) {
    const auto now = Clock::now();
    if (!began_) {
        began_ = now;
    }
    exchange.extraHeaders.clear();
    if (!sent_) {
        sentAt_ = now;
        sentTo_ = boot;
    } else if (repeatable_ == Repeatable::ONCE_ONLY) {
        const auto age = std::chrono::duration_cast<std::chrono::milliseconds>(now - sentAt_);
        exchange.extraHeaders.emplace_back(headers::boot, sentTo_);
        exchange.extraHeaders.emplace_back(headers::age, std::to_string(age.count()));
    }
    if (sink && sink->taken() > 0) {
        exchange.extraHeaders.emplace_back("Range", "bytes=" + std::to_string(sink->taken()) + "-");
    }
}

void Call::endAttempt(const Verdict& verdict) {
    sent_ = sent_ || (exchange.sent && !verdict.refused);
    answered_ = verdict.cause.empty();
    exchange.sent = false;
    exchange.fresh = verdict.kind == Verdict::Kind::AT_ONCE;
    // A proxy that does not know the word answers so.
    exchange.expects = exchange.expects && !(exchange.resent && exchange.status == 417);
}

std::optional<Call::Clock::duration> Call::nextAttempt(const Verdict& verdict,
                                                       unsigned mostAttempts) {
    const auto now = Clock::now();
    if (!began_) {
        began_ = now;
    }
    if (++attempts_ >= mostAttempts) {
        return std::nullopt;
    }
    const auto doubled = std::min(firstPause * (1U << std::min(attempts_ - 1, 6U)),
                                  std::chrono::milliseconds(longestPause));
    const std::chrono::milliseconds pause =
        verdict.after ? std::chrono::milliseconds(*verdict.after) : withJitter(doubled);
    return now + pause > *began_ + patience ? std::nullopt : std::optional<Clock::duration>(pause);
}

void Call::fail(const Verdict& verdict) {
    std::string cause = verdict.cause;
    if (verdict.code == kvxclient::KVXClientErrorCode::BAD_NETWORK && !cause.empty() &&
        repeatable_ != Repeatable::READ) {
        cause.insert(0, sent_ || exchange.sent ? "outcome unknown: " : "not sent: ");
    }
    fail(verdict.code, cause);
}

}  // namespace storage::kvxremote
