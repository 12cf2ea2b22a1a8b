#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace storage::kvxstore {

/// 256 random bits as 64 hexadecimal digits.
std::string newSecret();

/// 62 random bits.
std::int64_t newNumber();

/// The 32 bytes that the store keeps of a secret. The secret cannot be recovered from them.
std::string hashOf(std::string_view secret);

}  // namespace storage::kvxstore
