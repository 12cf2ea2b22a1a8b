#include "Outcomes.h"

namespace storage::kvxserver {

namespace {

/// How long a request may have been on its way after its sender took the time.
constexpr std::chrono::seconds onItsWay{20};

std::size_t sizeOfOutcome(const std::string& session, const Outcome& outcome) {
    std::size_t size = outcome.text.size() + 2 * session.size() + 400;
    for (const auto& [name, value] : outcome.headers) {
        size += name.size() + value.size();
    }
    return size;
}

}  // namespace

Outcomes::Verdict Outcomes::arrive(const Arrival& arrival, Waiter waiter,
                                   std::function<void()> abort, std::uint64_t& attempt) {
    std::function<void()> abortFirst;
    std::shared_ptr<const Outcome> outcome;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        trim();
        const Clock::time_point now = Clock::now();
        const auto found = entries_.find({arrival.session, arrival.call});
        if (found != entries_.end() && found->second.outcome) {
            ++counts_.replayed;
            outcome = found->second.outcome;
        } else if (found != entries_.end() && found->second.received) {
            ++counts_.replayed;
            found->second.waiters.push_back(std::move(waiter));
            return Verdict::ANSWERED;
        } else if (found == entries_.end() && arrival.repeated && !arrival.harmless &&
                   (!arrival.sameServer || now - arrival.age - onItsWay <= lostUntil_)) {
            ++counts_.inDoubt;
            return Verdict::IN_DOUBT;
        } else {
            Entry& entry = entries_[{arrival.session, arrival.call}];
            abortFirst = std::exchange(entry.abort, std::move(abort));
            attempt = entry.attempt = ++attempts_;
            entry.began = now;
        }
    }
    if (abortFirst) {
        abortFirst();
    }
    if (!outcome) {
        return Verdict::CARRY_OUT;
    }
    waiter(std::move(outcome));
    return Verdict::ANSWERED;
}

bool Outcomes::received(const Arrival& arrival, std::uint64_t attempt) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find({arrival.session, arrival.call});
    if (found == entries_.end() || found->second.attempt != attempt) {
        return false;
    }
    found->second.received = true;
    found->second.abort = nullptr;
    return true;
}

void Outcomes::complete(const Arrival& arrival, std::uint64_t attempt,
                        std::shared_ptr<const Outcome> outcome, bool keeps) {
    std::vector<Waiter> waiters;
    std::function<void()> abort;  // May hold the last of the call.
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = entries_.find({arrival.session, arrival.call});
        if (found == entries_.end() || found->second.attempt != attempt) {
            return;
        }
        waiters.swap(found->second.waiters);
        abort.swap(found->second.abort);
        if (keeps) {
            found->second.outcome = outcome;
            bytes_ += sizeOfOutcome(arrival.session, *outcome);
            kept_.push_back(found->first);
            trim();
        } else {
            entries_.erase(found);
        }
    }
    for (const Waiter& waiter : waiters) {
        waiter(outcome);
    }
}

std::vector<Outcomes::Waiter> Outcomes::forget(const Arrival& arrival, std::uint64_t attempt) {
    std::function<void()> abort;  // May hold the last of the call.
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = entries_.find({arrival.session, arrival.call});
    if (found == entries_.end() || found->second.attempt != attempt || found->second.outcome) {
        return {};
    }
    abort.swap(found->second.abort);
    std::vector<Waiter> waiters = std::move(found->second.waiters);
    entries_.erase(found);
    return waiters;
}

Outcomes::Counts Outcomes::counts() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    Counts counts = counts_;
    counts.kept = kept_.size();
    return counts;
}

void Outcomes::trim() {
    const Clock::time_point old = Clock::now() - keptFor_;
    while (!kept_.empty()) {
        const auto found = entries_.find(kept_.front());
        if (kept_.size() <= most_ && bytes_ <= mostBytes_ && found->second.began > old) {
            return;
        }
        bytes_ -= sizeOfOutcome(found->first.first, *found->second.outcome);
        lostUntil_ = std::max(lostUntil_, found->second.began);
        entries_.erase(found);
        kept_.pop_front();
    }
}

}  // namespace storage::kvxserver
