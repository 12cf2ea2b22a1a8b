#include "operations/Contents.h"

#include <algorithm>
#include <vector>

namespace storage::kvxstore::operations {

namespace {

constexpr std::size_t chunkSize = 256UL << 10U;
constexpr std::int64_t noLabel = -1;

}  // namespace

std::int64_t writeContent(const Context& context, std::string_view bytes) {
    const std::int64_t content =
        context.database.number("insert into contents(size) values($1) returning id",
                                {static_cast<std::int64_t>(bytes.size())});
    for (std::int64_t idx = 0; !bytes.empty(); ++idx) {
        const std::string_view chunk = bytes.substr(0, chunkSize);
        const std::int64_t id = context.database.number(
            "insert into chunks(data) values($1) returning id", {database::Blob{chunk}});
        context.database.execute("insert into extents(content, idx, chunk) values($1, $2, $3)",
                                 {content, idx, id});
        bytes.remove_prefix(chunk.size());
    }
    return content;
}

void readContent(const Context& context, const Content& content,
                 const std::function<void(std::string_view)>& sink) {
    auto left = static_cast<std::size_t>(content.size);
    std::vector<char> buffer(std::min(left, chunkSize));
    const auto extents = context.database.query(
        "select chunk from extents where content = $1 order by idx", {content.id});
    while (left > 0 && extents->next()) {
        if (context.isCancelled()) {
            refuse(kvxclient::KVXClientErrorCode::BAD_NETWORK);
        }
        const std::size_t size = std::min(left, chunkSize);
        context.database.readChunk(extents->integer(0), 0, buffer.data(), size);
        sink({buffer.data(), size});
        left -= size;
    }
    if (left > 0) {
        throw database::DatabaseError(database::Fault::OTHER,
                                      "the store is damaged: a part of the content is missing");
    }
}

std::string versionIdOf(const Node& file) {
    return std::to_string(file.id) + '-' + std::to_string(file.label);
}

Content findVersion(const Context& context, const Node& file, const std::string& versionId,
                    std::int64_t label) {
    Node version = file;
    const std::string ownIds = std::to_string(file.id) + '-';
    if (label != noLabel) {
        version.label = label;
    } else if (versionId.starts_with(ownIds)) {
        version.label = std::strtol(versionId.c_str() + ownIds.size(), nullptr, 10);
    }
    const auto row = context.database.query(
        "select c.id, c.size, v.content_type from versions v join contents c on c.id = v.content"
        " where v.node = $1 and v.label = $2",
        {version.id, version.label});
    // Comparing the whole id settles every malformed or contradicting one.
    if (!row->next() || (!versionId.empty() && versionId != versionIdOf(version))) {
        refuse(kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    return {row->integer(0), row->integer(1), row->text(2)};
}

void addVersion(const Context& context, const Node& file, const Content& content) {
    context.database.execute(
        "insert into versions(node, label, content, content_type, created)"
        " values($1, $2, $3, $4, $5)",
        {file.id, file.label, content.id, content.type, file.modified});
}

void dropVersion(const Context& context, const Node& file) {
    context.database.execute(
        "insert into garbage(content) select content from versions where node = $1 and label = $2"
        " on conflict do nothing",
        {file.id, file.label});
    context.database.execute("delete from versions where node = $1 and label = $2",
                             {file.id, file.label});
}

}  // namespace storage::kvxstore::operations
