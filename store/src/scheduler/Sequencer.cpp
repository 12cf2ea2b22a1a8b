#include "scheduler/Sequencer.h"

#include <algorithm>
#include <iterator>

namespace storage::kvxstore::scheduler {

namespace {

constexpr std::size_t mostHeld = 1024;

void append(Jobs& jobs, Jobs more) {
    std::move(more.begin(), more.end(), std::back_inserter(jobs));
}

}  // namespace

bool Sequencer::admit(std::unique_ptr<Job>& job, JobQueue::WhenFull whenFull) {
    if (job->traits().sequence.empty()) {
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
    Line& line = lines_[job->traits().sequence];
    if (line.held.empty() && (line.admitted == 0 || line.access == access)) {
        line.access = access;
        ++line.admitted;
        return true;
    }
    line.held.push_back(std::move(job));
    ++held_;
    return false;
}

void Sequencer::leave(const Job& job) {
    if (job.traits().sequence.empty()) {
        return;
    }
    const std::lock_guard lock(mutex_);
    const auto line = lines_.find(job.traits().sequence);
    if (line == lines_.end()) {
        return;
    }
    --line->second.admitted;
    releaseNext(line->second);
    if (line->second.admitted == 0) {
        lines_.erase(line);
    }
}

void Sequencer::releaseNext(Line& line) {
    while (!line.held.empty() &&
           (line.admitted == 0 || line.access == line.held.front()->traits().access)) {
        line.access = line.held.front()->traits().access;
        ++line.admitted;
        --held_;
        release_(std::move(line.held.front()));
        line.held.pop_front();
    }
    drained_.notify_all();
}

Jobs Sequencer::takeCancelled() {
    const std::lock_guard lock(mutex_);
    Jobs taken;
    for (auto& [sequence, line] : lines_) {
        const auto cancelled =
            std::stable_partition(line.held.begin(), line.held.end(),
                                  [](const auto& job) { return !job->isCancelled(); });
        Jobs jobs{std::move_iterator(cancelled), std::move_iterator(line.held.end())};
        line.held.erase(cancelled, line.held.end());
        held_ -= jobs.size();
        append(taken, std::move(jobs));
        releaseNext(line);
    }
    return taken;
}

Jobs Sequencer::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    held_ = 0;
    drained_.notify_all();
    Jobs rest;
    for (auto& [sequence, line] : lines_) {
        append(rest, {std::move_iterator(line.held.begin()), std::move_iterator(line.held.end())});
    }
    lines_.clear();
    return rest;
}

}  // namespace storage::kvxstore::scheduler
