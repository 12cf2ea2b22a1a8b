#pragma once

/// @file
/// The addresses that a server listens on.

#include <cstdint>
#include <string>

namespace storage::kvxserver {

/// "ADDRESS:PORT", or "unix:PATH" for a socket in the file system.
struct Address {
    std::string text;
    /// The address in digits.
    std::string host;
    std::uint16_t port = 0;
    /// The path of a socket, else empty.
    std::string path;
    /// Whether only this machine reaches it.
    bool local = false;
};

/// Throws std::invalid_argument with a sentence when it is none. A name is looked up.
Address parseAddress(const std::string& text);

}  // namespace storage::kvxserver
