#pragma once

#include <cstdint>
#include <string_view>

namespace storage::kvxstore::operations {

/// Finds bytes that the disk has changed; says nothing against changes on purpose.
std::int64_t checksumOf(std::string_view bytes);

}  // namespace storage::kvxstore::operations
