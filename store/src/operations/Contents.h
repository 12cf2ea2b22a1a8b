#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "operations/Places.h"

namespace storage::kvxstore::operations {

/// A content and what a version says about it.
struct Content {
    std::int64_t id = 0;
    std::int64_t size = 0;
    std::string type;
};

std::int64_t writeContent(const Context& context, std::string_view bytes);

/// Gives the content to the sink in order, piece by piece, in bounded memory.
void readContent(const Context& context, const Content& content,
                 const std::function<void(std::string_view)>& sink);

std::string versionIdOf(const Node& file);

/// The version of a file that both id and label name, an empty id or the label -1 naming any; the
/// current one when neither does. Refuses a version that is not there with RESOURCE_NOT_FOUND.
Content findVersion(const Context& context, const Node& file, const std::string& versionId,
                    std::int64_t label);

/// Records the content as the version that the file's label names.
void addVersion(const Context& context, const Node& file, const Content& content);

/// Forgets the version that the file's label names.
void dropVersion(const Context& context, const Node& file);

}  // namespace storage::kvxstore::operations
