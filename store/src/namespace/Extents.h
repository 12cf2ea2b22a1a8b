#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace storage::kvxstore {

/// The most bytes of a chunk. Chunk number idx of a content begins at idx * chunkSize.
constexpr std::int64_t chunkSize = 256L << 10U;

/// A chunk has a checksum for each block of it, so that a small range is read and checked without
/// the rest. The checksum depends on the chunk's place too: swapped chunks are damage.
constexpr std::int64_t blockSize = 16L << 10U;

/// A part of a content: a chunk, or a hole of `size` chunks that has chunk 0.
struct Extent {
    std::int64_t idx = 0;
    std::int64_t chunk = 0;
    std::int64_t size = 0;
    /// What it expects of the chunk's blocks; empty for a hole, and for a chunk that was stored
    /// before blocks had checksums.
    std::string_view checksums = {};
};

/// The checksums of the blocks of chunk number `idx`.
std::string blockChecksumsOf(std::int64_t idx, std::string_view chunk);

/// Whether the blocks of the extent's chunk from number `first` on have their checksums.
/// REQUIRES: each of the blocks is complete, but for the last one of the chunk.
bool haveChecksums(const Extent& extent, std::size_t first, std::string_view blocks);

/// The checksum of all extents of a content: begins with the content's size, and is continued by
/// each extent in order. Never 0.
std::int64_t beginChecksum(std::int64_t contentSize);
std::int64_t continueChecksum(std::int64_t checksum, const Extent& extent);

}  // namespace storage::kvxstore
