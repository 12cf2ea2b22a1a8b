#include "namespace/Extents.h"

#include <cstring>
#include <initializer_list>

#include "core/Checksum.h"

namespace storage::kvxstore {

namespace {

constexpr std::size_t checksumSize = sizeof(std::int64_t);

std::int64_t checksumOfNumbers(std::initializer_list<std::int64_t> numbers, std::int64_t earlier) {
    const std::int64_t checksum = checksumOf(
        {reinterpret_cast<const char*>(numbers.begin()), numbers.size() * sizeof(std::int64_t)},
        earlier);
    return checksum == 0 ? 1 : checksum;
}

/// Calls visit(number, bytes) for each block.
template <class Visit>
void forEachBlock(std::string_view blocks, Visit visit) {
    for (std::size_t number = 0; !blocks.empty(); ++number) {
        const std::string_view block = blocks.substr(0, blockSize);
        visit(number, block);
        blocks.remove_prefix(block.size());
    }
}

}  // namespace

std::string blockChecksumsOf(std::int64_t idx, std::string_view chunk) {
    std::string checksums;
    checksums.reserve((chunk.size() / blockSize + 1) * checksumSize);
    forEachBlock(chunk, [&](std::size_t, std::string_view block) {
        const std::int64_t checksum = checksumOf(block, idx);
        checksums.append(reinterpret_cast<const char*>(&checksum), checksumSize);
    });
    return checksums;
}

bool haveChecksums(const Extent& extent, std::size_t first, std::string_view blocks) {
    const std::string_view checksums = extent.checksums;
    bool matches = true;
    forEachBlock(blocks, [&](std::size_t number, std::string_view block) {
        std::int64_t expected = 0;
        const std::size_t at = (first + number) * checksumSize;
        matches = matches && at + checksumSize <= checksums.size();
        if (matches) {
            std::memcpy(&expected, checksums.data() + at, checksumSize);
            matches = checksumOf(block, extent.idx) == expected;
        }
    });
    return matches;
}

std::int64_t beginChecksum(std::int64_t contentSize) { return checksumOfNumbers({contentSize}, 0); }

std::int64_t continueChecksum(std::int64_t checksum, const Extent& extent) {
    return checksumOfNumbers({extent.idx, extent.size}, checksumOf(extent.checksums, checksum));
}

}  // namespace storage::kvxstore
