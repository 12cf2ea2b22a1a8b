#pragma once

#include <sqlite3.h>

#include <memory>

#include "store/BatchingPeer.h"

namespace bench {

/// SQLite driven by hand.
class RawSqlite final : public BatchingPeer {
public:
    explicit RawSqlite(const std::string& folder);
    ~RawSqlite() override;

    class Connection;

protected:
    void commit(const Batch& batch) override;
    std::size_t get(int caller, const std::string& name) override;
    std::size_t readRange(int caller, std::size_t offset, std::size_t size) override;
    std::size_t list() override;

private:
    std::vector<std::unique_ptr<Connection>> readers_;
    std::unique_ptr<Connection> writer_;
};

}  // namespace bench
