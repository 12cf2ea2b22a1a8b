#pragma once

/// @file
/// What reading throws.

#include <stdexcept>

namespace storage::kvxremote {

/// A request or an answer that does not follow the protocol.
class WireError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace storage::kvxremote
