#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace storage::kvxstore::operations {

/// 256 random bits as 64 hexadecimal digits.
std::string newSecret();

/// 62 random bits.
std::int64_t newNumber();

/// What the store keeps of a secret: 32 bytes from which it cannot be had back.
std::string hashOf(std::string_view secret);

}  // namespace storage::kvxstore::operations
