#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/Context.h"

namespace storage::kvxstore {

/// The bytes of a version.
struct Content {
    std::int64_t id = 0;
    std::int64_t size = 0;
    /// The number of bytes in its chunks; the rest reads as zeros.
    std::int64_t stored = 0;
    /// The checksum of its extents; 0 for one that is not committed, or that was stored before
    /// contents had checksums.
    std::int64_t checksum = 0;
    std::string type;
    /// The content that is read where this one has no chunk, 0 for none.
    std::int64_t base = 0;
    /// The file and version as which it is read, for words about damage; 0 for unknown.
    std::int64_t node = 0;
    std::int64_t label = 0;
};

/// The checksum of the content's row, for references to it.
std::int64_t rowChecksumOf(const Content& content);

/// Throws DAMAGED unless the content's row is what a reference to it expects; an expected 0 is of a
/// reference that was stored before there were checksums.
void requireRow(const Context& context, const Content& content, std::int64_t expected);

/// Throws DAMAGED unless the extents of a content are those that were stored. Reads no chunk.
void requireExtents(const Context& context, const Content& content);

/// Bytes to store, with their checksums. The caller owns the bytes, and keeps them as long.
class NewBytes {
public:
    explicit NewBytes(std::string_view bytes);

    std::int64_t size() const { return static_cast<std::int64_t>(bytes_.size()); }

    /// Stores them as a new content.
    Content write(const Context& context) const;

    /// Whether a content consists of these bytes. Throws DAMAGED as a read does.
    bool equal(const Context& context, const Content& content) const;

private:
    std::string_view bytes_;
    /// Of the blocks of each chunk.
    std::vector<std::string> checksums_;
    std::int64_t checksum_;
};

/// Makes an empty content, or one of that size that reads as zeros.
Content newContent(const Context& context, std::int64_t size = 0);

/// Writes a range of a content. Copies the chunks of its base that the range covers in part.
/// REQUIRES: the content is not committed yet.
void writeRange(const Context& context, Content& content, std::int64_t offset,
                std::string_view bytes);

/// Makes the content ready for a version: independent of its base, whose chunks it shares, and with
/// a checksum unless some of those chunks have none.
void sealContent(const Context& context, Content& content);

/// Whether two contents consist of the same bytes, as far as both have checksums. Throws DAMAGED as
/// a read does.
bool haveSameBytes(const Context& context, const Content& a, const Content& b);

}  // namespace storage::kvxstore
