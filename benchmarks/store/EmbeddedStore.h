#pragma once

#include <storage/kvxclient.h>
#include <storage/kvxstore/Store.h>

#include <array>
#include <memory>

#include "store/Peer.h"

namespace bench {

/// The store of this project, through its public interface.
class EmbeddedStore final : public LocalPeer {
public:
    explicit EmbeddedStore(const std::string& folder);

protected:
    void put(const std::string& name, std::string_view content) override;
    void fill(std::size_t entries) override;
    std::size_t get(int caller, const std::string& name) override;
    std::size_t readRange(int caller, std::size_t offset, std::size_t size) override;
    std::size_t list() override;

private:
    std::shared_ptr<storage::kvxstore::Store> store_;
    std::unique_ptr<storage::kvxclient::KVXClient> client_;
    std::unique_ptr<storage::kvxclient::FileAccess> files_;
    std::array<std::string, callers> handles_;
};

}  // namespace bench
