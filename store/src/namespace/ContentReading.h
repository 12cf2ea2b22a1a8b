#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "namespace/Contents.h"
#include "namespace/Extents.h"

namespace storage::kvxstore {

using Sink = std::function<void(std::string_view)>;

/// Passes the content to the sink in order, piece by piece, in bounded memory. Damage throws
/// DAMAGED with the file's path and version: before the sink sees a changed byte of a chunk, and at
/// the end when the chunks are not those of the content.
void readContent(const Context& context, const Content& content, const Sink& sink);

/// As readContent(), for a range.
/// REQUIRES: the range lies within the content.
void readRange(const Context& context, const Content& content, std::int64_t offset,
               std::int64_t length, const Sink& sink);

/// Throws DAMAGED with words that name the content and the damage.
[[noreturn]] void throwDamagedContent(const Context& context, const Content& content,
                                      const std::string& damage);

/// Reads a range of a chunk and returns it, as a part of the buffer. Throws DAMAGED unless the
/// blocks around it have their checksums.
/// REQUIRES: the range is not empty and lies within the extent.
std::string_view readChunk(const Context& context, const Extent& extent, std::int64_t from,
                           std::int64_t to, std::string& buffer);

}  // namespace storage::kvxstore
