#pragma once

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include "store/Peer.h"

namespace bench {

/// A database driven by hand: rows like the store's, put by one thread that commits those of all
/// callers together; no sessions, rights, paths or quotas.
class BatchingPeer : public LocalPeer {
protected:
    /// A file to put, or when `entries` is not 0, so many empty files of the folder to list.
    struct Job {
        std::string_view name;
        std::string_view content;
        std::size_t entries = 0;
        std::promise<void> done = {};
    };
    using Batch = std::vector<Job*>;

    /// To be called when commit() may be.
    void start();
    /// To be called by the destructor, while commit() still may be.
    void stop();
    /// Writes all of it in one transaction.
    virtual void commit(const Batch& batch) = 0;

    void put(const std::string& name, std::string_view content) override;
    void fill(std::size_t entries) override;

private:
    void runJob(Job& job);
    void write();
    Batch takeBatch();

    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<Job*> jobs_;
    bool ends_ = false;
    std::thread thread_;
};

}  // namespace bench
