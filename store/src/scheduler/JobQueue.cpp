#include "scheduler/JobQueue.h"

#include <algorithm>
#include <iterator>
#include <string_view>

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
    if (takers_ == 1) {
        filled_.notify_one();
    } else {
        filled_.notify_all();  // One that gathers, or has its key under way, would not take it.
    }
    return true;
}

Jobs JobQueue::pop(std::size_t maxJobs, std::size_t maxWeight, std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    ++waiting_;
    filled_.wait_for(lock, patience, [this] { return closed_ || hasFree(); });
    const std::size_t maxKeys = shareOfKeys();
    --waiting_;
    Jobs taken;
    std::deque<std::unique_ptr<Job>> left;
    std::unordered_set<std::string> keys;
    std::size_t weight = 0;
    while (!jobs_.empty() && taken.size() < maxJobs &&
           (taken.empty() || weight + jobs_.front()->traits().weight <= maxWeight)) {
        const Job& job = *jobs_.front();
        const std::string& key = job.traits().key;
        const bool mayTake = takers_ == 1 || key.empty() || keys.contains(key) ||
                             (isFree(job) && keys.size() < maxKeys);
        if (mayTake) {
            if (takers_ > 1 && !key.empty()) {
                keys.insert(key);
            }
            weight += job.traits().weight;
            taken.push_back(std::move(jobs_.front()));
        } else {
            left.push_back(std::move(jobs_.front()));
        }
        jobs_.pop_front();
    }
    jobs_.insert(jobs_.begin(), std::move_iterator(left.begin()), std::move_iterator(left.end()));
    busy_.merge(keys);
    weight_ -= weight;
    drained_.notify_all();
    return taken;
}

bool JobQueue::hasFree() const {
    return std::ranges::any_of(jobs_, [this](const auto& job) { return isFree(*job); });
}

std::size_t JobQueue::shareOfKeys() const {
    if (takers_ == 1) {
        return mostJobs;
    }
    std::unordered_set<std::string_view> keys;
    for (const auto& job : jobs_) {
        if (isFree(*job)) {
            keys.insert(job->traits().key);
        }
    }
    return std::max<std::size_t>((keys.size() + waiting_ - 1) / waiting_, 1);
}

void JobQueue::done(const Jobs& jobs) {
    if (takers_ == 1) {
        return;
    }
    const std::lock_guard lock(mutex_);
    for (const auto& job : jobs) {
        busy_.erase(job->traits().key);
    }
    filled_.notify_all();
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
