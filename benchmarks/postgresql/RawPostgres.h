#pragma once

#include <memory>

#include "store/BatchingPeer.h"

namespace bench {

/// PostgreSQL driven by hand, with a batch's statements sent in one go. The writer's number of a
/// row is its own, as the store's comes from a block of them.
class RawPostgres final : public BatchingPeer {
public:
    /// Makes the tables anew.
    explicit RawPostgres(const std::string& url);
    ~RawPostgres() override;

    class Connection;

protected:
    void commit(const Batch& batch) override;
    std::size_t get(int caller, const std::string& name) override;
    std::size_t readRange(int caller, std::size_t offset, std::size_t size) override;
    std::size_t list() override;

private:
    void putFile(std::int64_t parent, std::string_view name, std::string_view bytes);

    std::vector<std::unique_ptr<Connection>> readers_;
    std::unique_ptr<Connection> writer_;
    std::int64_t id_ = 0;
};

/// Runs statements on the server.
void runOnServer(const std::string& url, const char* statements);

}  // namespace bench
