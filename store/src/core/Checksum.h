#pragma once

#include <cstdint>
#include <string_view>

namespace storage::kvxstore {

/// A checksum that finds damage, but not changes on purpose.
std::int64_t checksumOf(std::string_view bytes);

}  // namespace storage::kvxstore
