#pragma once

#include "store/Peer.h"

namespace bench {

/// Files in a folder of the file system: written beside, synced, renamed.
class PlainFiles final : public LocalPeer {
public:
    explicit PlainFiles(std::string folder);

protected:
    void put(const std::string& name, std::string_view content) override;
    void fill(std::size_t entries) override;
    std::size_t get(int caller, const std::string& name) override;
    std::size_t readRange(int caller, std::size_t offset, std::size_t size) override;
    std::size_t list() override;

private:
    std::string folder_;
};

}  // namespace bench
