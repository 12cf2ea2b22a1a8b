#include "scheduler/JobQueue.h"

#include <algorithm>
#include <iterator>

namespace storage::kvxstore::scheduler {

namespace {

constexpr std::size_t mostJobs = 1024;
constexpr std::size_t mostWeight = 64UL << 20U;

}  // namespace

bool JobQueue::hasRoomFor(const Job& job) const {
    return jobs_.empty() ||
           (jobs_.size() < mostJobs && weight_ + job.traits().weight <= mostWeight);
}

bool JobQueue::push(std::unique_ptr<Job>& job, WhenFull whenFull) {
    std::unique_lock lock(mutex_);
    if (whenFull == WhenFull::WAIT) {
        drained_.wait(lock, [&] { return closed_ || hasRoomFor(*job); });
    }
    if (closed_) {
        return false;
    }
    weight_ += job->traits().weight;
    jobs_.push_back(std::move(job));
    lock.unlock();
    filled_.notify_one();
    return true;
}

Jobs JobQueue::pop(std::size_t maxJobs, std::size_t maxWeight, std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    filled_.wait_for(lock, patience, [this] { return closed_ || !jobs_.empty(); });
    Jobs taken;
    std::size_t weight = 0;
    while (!jobs_.empty() && taken.size() < maxJobs &&
           (taken.empty() || weight + jobs_.front()->traits().weight <= maxWeight)) {
        weight += jobs_.front()->traits().weight;
        taken.push_back(std::move(jobs_.front()));
        jobs_.pop_front();
    }
    weight_ -= weight;
    drained_.notify_all();
    return taken;
}

void JobQueue::gather(std::size_t moreJobs, std::size_t maxJobs,
                      std::chrono::nanoseconds patience) {
    std::unique_lock lock(mutex_);
    const std::size_t wanted = std::min(jobs_.size() + moreJobs, maxJobs);
    filled_.wait_for(lock, patience, [&] { return closed_ || jobs_.size() >= wanted; });
}

Jobs JobQueue::takeCancelled() {
    const std::lock_guard lock(mutex_);
    const auto cancelled = std::stable_partition(
        jobs_.begin(), jobs_.end(), [](const auto& job) { return !job->isCancelled(); });
    Jobs taken{std::move_iterator(cancelled), std::move_iterator(jobs_.end())};
    jobs_.erase(cancelled, jobs_.end());
    for (const auto& job : taken) {
        weight_ -= job->traits().weight;
    }
    drained_.notify_all();
    return taken;
}

bool JobQueue::isClosed() const {
    const std::lock_guard lock(mutex_);
    return closed_;
}

Jobs JobQueue::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    weight_ = 0;
    filled_.notify_all();
    drained_.notify_all();
    Jobs rest{std::move_iterator(jobs_.begin()), std::move_iterator(jobs_.end())};
    jobs_.clear();
    return rest;
}

}  // namespace storage::kvxstore::scheduler
