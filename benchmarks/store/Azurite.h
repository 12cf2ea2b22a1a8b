#pragma once

#include <cstdio>

#include "store/Peer.h"

namespace bench {

/// The Azurite emulator over loopback, driven by a small client of its own language that runs
/// beside this process and takes one load at a time.
class Azurite final : public Peer {
public:
    /// `installation` is the folder where npm has put the emulator; its data goes into `folder`.
    Azurite(const std::string& installation, const std::string& folder);
    ~Azurite() override;
    Azurite(const Azurite&) = delete;
    Azurite& operator=(const Azurite&) = delete;

    double run(const Load& load, double milliseconds) override;

private:
    std::FILE* toClient_ = nullptr;
    std::FILE* fromClient_ = nullptr;
    int client_ = 0;
};

}  // namespace bench
