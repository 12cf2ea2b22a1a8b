#include "core/Checksum.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace storage::kvxstore {

std::int64_t checksumOf(std::string_view bytes) {
    return static_cast<std::int64_t>(XXH3_64bits(bytes.data(), bytes.size()));
}

}  // namespace storage::kvxstore
