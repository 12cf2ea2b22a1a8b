#pragma once

/// @file
/// What calls came to, so that a call that is sent again takes effect once.

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "protocol/Wire.h"

namespace storage::kvxserver {

/// The answer to a call that writes, kept as it was sent.
struct Outcome {
    unsigned status = 200;
    std::vector<kvxremote::Header> headers;
    std::string text;
};

/// The outcomes of one server, for ten minutes and within a bound, oldest out.
class Outcomes {
public:
    using Clock = std::chrono::steady_clock;
    using Waiter = std::function<void(std::shared_ptr<const Outcome>)>;

    enum class Verdict {
        CARRY_OUT,  ///< The caller carries the call out, then calls complete() or forget().
        ANSWERED,   ///< The waiter gets the outcome, now or when there is one.
        IN_DOUBT    ///< It may have taken effect before, and nobody knows.
    };

    /// A call as it arrives.
    struct Arrival {
        std::string session;
        std::string call;
        /// Whether it says that it was sent before, how long ago, and whether to this server.
        bool repeated = false;
        std::chrono::milliseconds age{0};
        bool sameServer = true;
        /// Whether a repeat may be carried out though it may have taken effect before.
        bool harmless = false;
    };

    explicit Outcomes(std::size_t most = 65'536, std::size_t mostBytes = 64UL << 20U,
                      std::chrono::milliseconds keptFor = std::chrono::minutes(10))
        : most_(most), mostBytes_(mostBytes), keptFor_(keptFor) {}

    /// Decides about a call. A first attempt that still receives its body is ended: its `abort` is
    /// called, and what it says later counts no more. `attempt` is the number of this attempt for
    /// the members below.
    Verdict arrive(const Arrival& arrival, Waiter waiter, std::function<void()> abort,
                   std::uint64_t& attempt);
    /// All bytes of the call have come. False when another attempt has taken its place.
    bool received(const Arrival& arrival, std::uint64_t attempt);
    /// Gives the outcome to those who wait for it, and keeps it unless told otherwise.
    void complete(const Arrival& arrival, std::uint64_t attempt,
                  std::shared_ptr<const Outcome> outcome, bool keeps = true);
    /// The call had no effect. Returns those who wait for its outcome.
    std::vector<Waiter> forget(const Arrival& arrival, std::uint64_t attempt);

    struct Counts {
        std::size_t kept = 0;
        std::uint64_t replayed = 0;
        std::uint64_t inDoubt = 0;
    };
    Counts counts() const;

private:
    using Key = std::pair<std::string, std::string>;
    struct Entry {
        std::uint64_t attempt = 0;
        bool received = false;
        Clock::time_point began;
        std::function<void()> abort;
        std::vector<Waiter> waiters;
        std::shared_ptr<const Outcome> outcome;
    };

    void trim();

    const std::size_t most_;
    const std::size_t mostBytes_;
    const std::chrono::milliseconds keptFor_;
    mutable std::mutex mutex_;
    std::map<Key, Entry> entries_;
    /// Those with an outcome, oldest first.
    std::list<Key> kept_;
    std::size_t bytes_ = 0;
    /// Outcomes of calls that began until then are not all kept any more.
    Clock::time_point lostUntil_ = Clock::time_point::min();
    std::uint64_t attempts_ = 0;
    Counts counts_;
};

}  // namespace storage::kvxserver
