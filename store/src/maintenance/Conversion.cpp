#include "maintenance/Conversion.h"

#include <utility>
#include <vector>

#include "namespace/ContentReading.h"

namespace storage::kvxstore {

namespace {

constexpr std::int64_t contentsAtOnce = 64;
constexpr std::int64_t bytesAtOnce = 64L << 20U;

/// Whether all of the content is as its own rows and the checksums of its chunks say.
bool isSound(const Context& context, const Content& content) {
    return context.database.number(
               "select coalesce(cast(sum(size) as bigint), 0) from extents"
               " where content = $1 and chunk <> 0",
               {content.id}) == content.stored &&
           !database::damageIn([&] { readContent(context, content, [](std::string_view) {}); });
}

void addBlockChecksums(const Context& context, std::int64_t content) {
    const auto extents = collect(
        context.database.query("select idx, chunk, size from extents"
                               " where content = $1 and chunk <> 0 and length(checksums) = 0",
                               {content}),
        [](const auto& row) {
            return Extent{row.integer(0), row.integer(1), row.integer(2)};
        });
    std::string buffer;
    for (const Extent& extent : extents) {
        const std::string checksums =
            blockChecksumsOf(extent.idx, readChunk(context, extent, 0, extent.size, buffer));
        context.database.execute(
            "update extents set checksums = $3 where content = $1 and idx = $2",
            {content, extent.idx, database::Blob{checksums}});
    }
}

void convert(const Context& context, Content content) {
    if (!isSound(context, content)) {
        return;
    }
    addBlockChecksums(context, content.id);
    sealContent(context, content);
    const std::int64_t expected = rowChecksumOf(content);
    for (const std::string_view sql :
         {"update versions set checksum = $2 where content = $1 and checksum = 0",
          "update downloads set checksum = $2 where content = $1 and checksum = 0",
          "update handles set checksum = $2 where base = $1 and checksum = 0"}) {
        context.database.execute(sql, {content.id, expected});
    }
}

}  // namespace

bool addChecksums(const Context& context, std::int64_t& last) {
    // The content of an open file gets its checksum with the commit.
    const auto contents = collect(
        context.database.query(
            "select id, size, stored from contents c where id > $1 and checksum = 0"
            " and exists(select 1 from versions v where v.content = c.id)"
            // Whoever expects a checksum of it means another content.
            " and not exists(select 1 from versions v where v.content = c.id and v.checksum <> 0)"
            " order by id limit $2",
            {last, contentsAtOnce}),
        [](const auto& row) {
            Content content;
            content.id = row.integer(0);
            content.size = row.integer(1);
            content.stored = row.integer(2);
            return content;
        });
    std::int64_t bytes = 0;
    for (const Content& content : contents) {
        convert(context, content);
        last = content.id;
        bytes += content.stored;
        if (bytes > bytesAtOnce) {
            break;
        }
    }
    return !contents.empty();
}

}  // namespace storage::kvxstore
