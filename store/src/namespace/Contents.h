#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "namespace/ResolvedPath.h"

namespace storage::kvxstore {

/// The bytes of a version.
struct Content {
    std::int64_t id = 0;
    std::int64_t size = 0;
    /// The number of bytes in its chunks; the rest reads as zeros.
    std::int64_t stored = 0;
    std::string type;
    /// The content that is read where this one has no chunk, 0 for none.
    std::int64_t base = 0;
};

using Sink = std::function<void(std::string_view)>;

/// Stores the bytes as a new content and returns its id.
std::int64_t writeContent(const Context& context, std::string_view bytes);

/// Makes an empty content, or one of that size that reads as zeros.
Content newContent(const Context& context, std::int64_t size = 0);

/// Writes a range of a content. Copies the chunks of its base that the range covers in part.
/// REQUIRES: the content is not committed yet.
void writeRange(const Context& context, Content& content, std::int64_t offset,
                std::string_view bytes);

/// Makes the content independent of its base by sharing the base's chunks.
void detachFromBase(const Context& context, Content& content);

/// Passes the content to the sink in order, piece by piece, in bounded memory.
void readContent(const Context& context, const Content& content, const Sink& sink);

/// As readContent(), for a range.
/// REQUIRES: the range lies within the content.
void readRange(const Context& context, const Content& content, std::int64_t offset,
               std::int64_t length, const Sink& sink);

}  // namespace storage::kvxstore
