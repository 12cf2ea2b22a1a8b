#include "core/Checksum.h"

#include <xxh_x86dispatch.h>

namespace storage::kvxstore {

std::int64_t checksumOf(std::string_view bytes, std::int64_t earlier) {
    return static_cast<std::int64_t>(XXH3_64bits_withSeed_dispatch(
        bytes.data(), bytes.size(), static_cast<XXH64_hash_t>(earlier)));
}

}  // namespace storage::kvxstore
