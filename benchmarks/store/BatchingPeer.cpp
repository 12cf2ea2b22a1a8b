#include "store/BatchingPeer.h"

namespace bench {

void BatchingPeer::start() {
    thread_ = std::thread([this] { write(); });
}

void BatchingPeer::stop() {
    {
        const std::lock_guard guard(lock_);
        ends_ = true;
    }
    arrived_.notify_one();
    thread_.join();
}

void BatchingPeer::runJob(Job& job) {
    auto done = job.done.get_future();
    {
        const std::lock_guard guard(lock_);
        jobs_.push_back(&job);
    }
    arrived_.notify_one();
    done.get();
}

BatchingPeer::Batch BatchingPeer::takeBatch() {
    std::unique_lock guard(lock_);
    arrived_.wait(guard, [this] { return ends_ || !jobs_.empty(); });
    Batch batch;
    for (std::size_t bytes = 0; !jobs_.empty() && batch.size() < 64 && bytes < 4UL << 20U;) {
        bytes += jobs_.front()->content.size();
        batch.push_back(jobs_.front());
        jobs_.pop_front();
    }
    return batch;
}

void BatchingPeer::write() {
    for (auto batch = takeBatch(); !batch.empty(); batch = takeBatch()) {
        commit(batch);
        for (Job* job : batch) {
            job->done.set_value();
        }
    }
}

void BatchingPeer::put(const std::string& name, std::string_view content) {
    Job job{name, content};
    runJob(job);
}

void BatchingPeer::fill(std::size_t entries) {
    Job job{{}, {}, entries};
    runJob(job);
}

}  // namespace bench
