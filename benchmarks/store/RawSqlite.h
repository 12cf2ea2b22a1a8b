#pragma once

#include <sqlite3.h>

#include <condition_variable>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "store/Peer.h"

namespace bench {

/// SQLite driven by hand: rows like the store's, put by one thread that commits those of all
/// callers together; no sessions, rights, paths or quotas.
class RawSqlite final : public LocalPeer {
public:
    explicit RawSqlite(const std::string& folder);
    ~RawSqlite() override;

    class Connection;

protected:
    void put(const std::string& name, std::string_view content) override;
    void fill(std::size_t entries) override;
    std::size_t get(int caller, const std::string& name) override;
    std::size_t readRange(int caller, std::size_t offset, std::size_t size) override;
    std::size_t list() override;

private:
    struct Job {
        std::string_view name;
        std::string_view content;
        std::size_t entries = 0;  ///< When not 0, so many files of the folder to list instead.
        std::promise<void> done = {};
    };

    void runJob(Job& job);
    void write();
    std::vector<Job*> takeBatch();

    std::vector<std::unique_ptr<Connection>> readers_;
    std::unique_ptr<Connection> writer_;
    std::mutex lock_;
    std::condition_variable arrived_;
    std::deque<Job*> jobs_;
    bool ends_ = false;
    std::thread thread_;
};

}  // namespace bench
