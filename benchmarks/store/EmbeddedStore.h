#pragma once

#include <storage/kvxclient.h>
#include <storage/kvxstore/Store.h>

#include <array>
#include <memory>

#include "store/Peer.h"

namespace bench {

/// A transport of this project, through its public interface.
class ClientPeer : public LocalPeer {
protected:
    /// Logs in, to an empty bucket "bench".
    void begin(std::unique_ptr<storage::kvxclient::KVXClient> client, const std::string& token);

    void put(const std::string& name, std::string_view content) override;
    void fill(std::size_t entries) override;
    std::size_t get(int caller, const std::string& name) override;
    std::size_t readRange(int caller, std::size_t offset, std::size_t size) override;
    std::size_t list() override;
    void ping(int caller) override;
    void upload(std::size_t size) override;
    std::size_t download() override;

private:
    std::unique_ptr<storage::kvxclient::KVXClient> client_;
    std::unique_ptr<storage::kvxclient::FileAccess> files_;
    std::array<std::string, mostCallers> handles_;
};

/// The store within this process.
class EmbeddedStore final : public ClientPeer {
public:
    explicit EmbeddedStore(const std::string& url);

private:
    std::shared_ptr<storage::kvxstore::Store> store_;
};

}  // namespace bench
