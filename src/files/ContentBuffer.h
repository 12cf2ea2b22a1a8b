#pragma once

#include <stdexcept>
#include <vector>

namespace storage::kvxclient::detail {

/// Appends `size` bytes; throws std::length_error before anything is touched when they cannot fit.
inline void appendBytes(std::vector<char>& content, const char* data, unsigned long size) {
    if (size == 0) {
        return;
    }
    // Checked here, not by the vector: `data + size` may not be computed for such a size.
    if (size > content.max_size() - content.size()) {
        throw std::length_error("vector::_M_range_insert");
    }
    content.insert(content.end(), data, data + size);
}

}  // namespace storage::kvxclient::detail
