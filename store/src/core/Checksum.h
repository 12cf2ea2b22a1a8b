#pragma once

#include <cstdint>
#include <string_view>

namespace storage::kvxstore {

/// A checksum that finds damage, but not changes on purpose. It continues an earlier one, or starts
/// with 0.
std::int64_t checksumOf(std::string_view bytes, std::int64_t earlier = 0);

}  // namespace storage::kvxstore
