#include "core/Checksum.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace storage::kvxstore {

std::int64_t checksumOf(std::string_view bytes, std::int64_t earlier) {
    return static_cast<std::int64_t>(
        XXH3_64bits_withSeed(bytes.data(), bytes.size(), static_cast<XXH64_hash_t>(earlier)));
}

}  // namespace storage::kvxstore
