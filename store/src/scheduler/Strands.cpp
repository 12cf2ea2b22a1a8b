#include "scheduler/Strands.h"

#include <algorithm>
#include <iterator>

namespace storage::kvxstore::scheduler {

namespace {

constexpr std::size_t mostHeld = 1024;

void append(Jobs& jobs, Jobs more) {
    std::move(more.begin(), more.end(), std::back_inserter(jobs));
}

}  // namespace

bool Strands::admit(std::unique_ptr<Job>& job, JobQueue::WhenFull whenFull) {
    if (job->traits().strand.empty()) {
        return true;
    }
    std::unique_lock lock(mutex_);
    if (whenFull == JobQueue::WhenFull::WAIT) {
        drained_.wait(lock, [this] { return closed_ || held_ < mostHeld; });
    }
    if (closed_) {
        return true;
    }
    const database::Access access = job->traits().access;
    Strand& strand = strands_[job->traits().strand];
    if (strand.held.empty() && (strand.admitted == 0 || strand.access == access)) {
        strand.access = access;
        ++strand.admitted;
        return true;
    }
    strand.held.push_back(std::move(job));
    ++held_;
    return false;
}

void Strands::leave(const Job& job) {
    if (job.traits().strand.empty()) {
        return;
    }
    const std::lock_guard lock(mutex_);
    const auto strand = strands_.find(job.traits().strand);
    if (strand == strands_.end()) {
        return;
    }
    --strand->second.admitted;
    releaseNext(strand->second);
    if (strand->second.admitted == 0) {
        strands_.erase(strand);
    }
}

void Strands::releaseNext(Strand& strand) {
    while (!strand.held.empty() &&
           (strand.admitted == 0 || strand.access == strand.held.front()->traits().access)) {
        strand.access = strand.held.front()->traits().access;
        ++strand.admitted;
        --held_;
        release_(std::move(strand.held.front()));
        strand.held.pop_front();
    }
    drained_.notify_all();
}

Jobs Strands::takeCancelled() {
    const std::lock_guard lock(mutex_);
    Jobs taken;
    for (auto& [name, strand] : strands_) {
        const auto cancelled =
            std::stable_partition(strand.held.begin(), strand.held.end(),
                                  [](const auto& job) { return !job->isCancelled(); });
        Jobs jobs{std::move_iterator(cancelled), std::move_iterator(strand.held.end())};
        strand.held.erase(cancelled, strand.held.end());
        held_ -= jobs.size();
        append(taken, std::move(jobs));
        releaseNext(strand);
    }
    return taken;
}

Jobs Strands::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    held_ = 0;
    drained_.notify_all();
    Jobs rest;
    for (auto& [name, strand] : strands_) {
        append(rest,
               {std::move_iterator(strand.held.begin()), std::move_iterator(strand.held.end())});
    }
    strands_.clear();
    return rest;
}

}  // namespace storage::kvxstore::scheduler
