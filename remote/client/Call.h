#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "client/Completions.h"
#include "client/Exchange.h"
#include "client/Orders.h"
#include "client/StreamSink.h"
#include "client/Verdict.h"
#include "storage/kvxtransport/PendingCalls.h"
#include "storage/kvxtransport/Services.h"

namespace storage::kvxremote {

/// How a call may be sent again.
enum class Repeatable {
    READ,      ///< As if it were a new one.
    SAFE,      ///< With the same call id: the server carries it out twice at worst.
    ONCE_ONLY  ///< With the same call id, and refused by a server that does not know the outcome.
};

template <class Operation>
constexpr Repeatable repeatableOf() {
    if (Operation::access == kvxtransport::Access::READ) {
        return Repeatable::READ;
    }
    return Operation::repeat == kvxtransport::Repeat::SAFE ? Repeatable::SAFE
                                                           : Repeatable::ONCE_ONLY;
}

/// A call on its way, whatever its operation. It has one owner at a time, which is why its handler
/// runs exactly once.
class Call : public Task, public kvxtransport::PendingCall {
public:
    using Clock = std::chrono::steady_clock;

    Call(std::shared_ptr<kvxtransport::PendingCalls> group, Repeatable repeatable)
        : PendingCall(std::move(group)), repeatable_(repeatable) {}

    /// Adds what every call of this caller has.
    void identify(const kvxtransport::Caller& caller, bool needsSession);

    /// Takes note that an attempt begins.
    void beginAttempt(const std::string& boot);
    /// Takes note of what came of it.
    void endAttempt(const Verdict& verdict);
    /// Decides on another attempt: how long it must wait, or nothing if the call has failed.
    std::optional<Clock::duration> nextAttempt(const Verdict& verdict, unsigned mostAttempts);

    /// Writes the request anew, without the path in its target.
    virtual void encodeAsPost() = 0;

    /// Makes the call fail for good.
    void fail(const Verdict& verdict);
    /// Makes it fail with BAD_NETWORK.
    void giveUp(const char* cause) {
        fail({Verdict::Kind::FAILED, kvxclient::KVXClientErrorCode::BAD_NETWORK, cause, {}, false});
    }
    void fail(kvxclient::KVXClientErrorCode code, const std::string& cause) {
        error_ = makeError(code, cause);
    }

    bool hasFailed() const { return error_ != nullptr; }
    /// Whether a server has answered, be it with a code.
    bool isAnswered() const { return answered_; }

    Exchange exchange;
    Orders::Place place;
    /// Where the bytes of a download go; null for all else.
    std::shared_ptr<StreamSink> sink;
    /// How many servers in a row could not be reached.
    std::size_t unreachable = 0;

protected:
    /// The session of the caller when the call began, empty if it needs none.
    const std::string& session() const { return session_; }
    /// The error that the handler gets, if any.
    std::exception_ptr takeError() {
        if (isCancelled()) {
            giveUp("cancelled");
        }
        return std::exchange(error_, nullptr);
    }

private:
    const Repeatable repeatable_;
    std::string session_;
    unsigned attempts_ = 0;
    bool answered_ = false;
    std::optional<Clock::time_point> began_;
    /// The first attempt that may have reached a server.
    bool sent_ = false;
    Clock::time_point sentAt_;
    std::string sentTo_;
    std::exception_ptr error_;
};

}  // namespace storage::kvxremote
