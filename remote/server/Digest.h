#pragma once

/// @file
/// Digests of secrets, so that logs and queues can tell users apart.

#include <string>
#include <string_view>

namespace storage::kvxserver {

/// Sixteen hex digits of a digest that does not lead back to the text.
std::string digestOf(std::string_view text);

/// Random hex digits.
std::string randomDigits(std::size_t count);

}  // namespace storage::kvxserver
