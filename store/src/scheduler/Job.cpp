#include "scheduler/Job.h"

#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxstore::scheduler {

Job::Job(JobTraits traits, std::shared_ptr<CallGroup> group)
    : traits_(std::move(traits)), group_(std::move(group)) {
    const std::lock_guard lock(group_->mutex_);
    group_->jobs_.insert(this);
}

Job::~Job() {
    const std::lock_guard lock(group_->mutex_);
    group_->jobs_.erase(this);
    if (group_->jobs_.empty()) {
        group_->emptied_.notify_all();
    }
}

void Job::finish(std::exception_ptr error) noexcept {
    try {
        deliver(isCancelled() ? badNetwork() : std::move(error));
    } catch (...) {
        // The caller's handler threw: there is nobody left to tell.
    }
}

void CallGroup::cancelAll() const {
    const std::lock_guard lock(mutex_);
    for (Job* job : jobs_) {
        job->cancel();
    }
}

void CallGroup::waitUntilEmpty() const {
    std::unique_lock lock(mutex_);
    emptied_.wait(lock, [this] { return jobs_.empty(); });
}

std::exception_ptr badNetwork() {
    return std::make_exception_ptr(
        kvxclient::KVXClientException(kvxclient::KVXClientErrorCode::BAD_NETWORK));
}

}  // namespace storage::kvxstore::scheduler
