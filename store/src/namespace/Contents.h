#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "namespace/Places.h"

namespace storage::kvxstore::operations {

/// A content and what a version says about it.
struct Content {
    std::int64_t id = 0;
    std::int64_t size = 0;
    /// Bytes in its chunks; the rest reads as zeros.
    std::int64_t stored = 0;
    std::string type;
    /// The content that shows where this one has no chunk, 0 for none.
    std::int64_t base = 0;
};

using Sink = std::function<void(std::string_view)>;

/// Stores the bytes as a new content and returns its id.
std::int64_t writeContent(const Context& context, std::string_view bytes);

/// Makes a content of a size that is yet to be written.
Content newContent(const Context& context, std::int64_t size = 0);

/// Writes a range of a content that is not committed yet. Chunks of its base are copied as far as
/// the range touches them.
void writeRange(const Context& context, Content& content, std::int64_t offset,
                std::string_view bytes);

/// Makes the content independent of its base, whose chunks it shares from then on.
void detachFromBase(const Context& context, Content& content);

/// Gives the content to the sink in order, piece by piece, in bounded memory.
void readContent(const Context& context, const Content& content, const Sink& sink);

/// As readContent(), a range that lies within the content.
void readRange(const Context& context, const Content& content, std::int64_t offset,
               std::int64_t length, const Sink& sink);

}  // namespace storage::kvxstore::operations
