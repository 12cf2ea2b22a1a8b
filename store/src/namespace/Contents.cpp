#include "namespace/Contents.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "core/Checksum.h"

namespace storage::kvxstore {

namespace {

constexpr std::int64_t chunkSize = 256L << 10U;

struct Extent {
    std::int64_t chunk = 0;
    std::int64_t size = 0;
};

/// Passes on a range piece by piece, with zeros for what no chunk covers.
class RangeReader {
public:
    RangeReader(const Context& context, const Content& content, std::int64_t offset,
                std::int64_t length, const Sink& sink)
        : context_(context),
          sink_(sink),
          dense_(content.base == 0 && content.stored == content.size),
          position_(offset),
          end_(offset + length) {}

    void readExtent(std::int64_t idx, const Extent& extent) {
        const std::int64_t start = idx * chunkSize;
        fillUpTo(std::min(start, end_));
        const std::int64_t size = std::min(start + extent.size, end_) - position_;
        if (size <= 0) {
            return;
        }
        if (context_.isCancelled()) {
            refuse(ErrorCode::BAD_NETWORK);
        }
        buffer_.resize(static_cast<std::size_t>(size));
        context_.database.readChunk(extent.chunk, static_cast<std::size_t>(position_ - start),
                                    buffer_.data(), buffer_.size());
        sink_(buffer_);
        position_ += size;
    }

    void finish() { fillUpTo(end_); }

private:
    void fillUpTo(std::int64_t end) {
        static constexpr std::array<char, 16384> zeros{};
        if (position_ < end && dense_) {
            database::throwDamaged("a part of the content is missing");
        }
        while (position_ < end) {
            const std::string_view piece(zeros.data(),
                                         std::min<std::size_t>(zeros.size(), end - position_));
            sink_(piece);
            position_ += static_cast<std::int64_t>(piece.size());
        }
    }

    const Context& context_;
    const Sink& sink_;
    bool dense_;
    std::int64_t position_;
    std::int64_t end_;
    std::string buffer_;
};

std::optional<Extent> findExtent(const Context& context, std::int64_t content, std::int64_t idx) {
    const auto row = context.database.query(
        "select chunk, size from extents where content = $1 and idx = $2", {content, idx});
    return row->next() ? std::optional(Extent{row->integer(0), row->integer(1)}) : std::nullopt;
}

void insertChunk(const Context& context, std::int64_t content, std::int64_t idx,
                 std::string_view data) {
    const std::int64_t chunk =
        context.database.insert("insert into chunks(checksum, data) values($1, $2)",
                                {checksumOf(data), database::Blob{data}});
    context.database.execute(
        "insert into extents(content, idx, chunk, size) values($1, $2, $3, $4)",
        {content, idx, chunk, static_cast<std::int64_t>(data.size())});
}

void updateChunk(const Context& context, std::int64_t content, std::int64_t idx, const Extent& old,
                 std::string_view data) {
    context.database.execute("update chunks set checksum = $2, data = $3 where id = $1",
                             {old.chunk, checksumOf(data), database::Blob{data}});
    if (std::cmp_not_equal(old.size, data.size())) {
        context.database.execute("update extents set size = $3 where content = $1 and idx = $2",
                                 {content, idx, static_cast<std::int64_t>(data.size())});
    }
}

/// Writes bytes into one chunk, at an offset in it.
void writePiece(const Context& context, Content& content, std::int64_t idx, std::size_t offset,
                std::string_view bytes) {
    const std::optional<Extent> own = findExtent(context, content.id, idx);
    const std::optional<Extent> old =
        own || content.base == 0 ? own : findExtent(context, content.base, idx);
    const std::size_t oldSize = old ? static_cast<std::size_t>(old->size) : 0;
    std::string merged;
    std::string_view data = bytes;
    if (offset > 0 || bytes.size() < oldSize) {
        merged.resize(std::max(oldSize, offset + bytes.size()));
        if (old) {
            context.database.readChunk(old->chunk, 0, merged.data(), oldSize);
        }
        std::copy(bytes.begin(), bytes.end(), merged.begin() + static_cast<std::ptrdiff_t>(offset));
        data = merged;
    }
    if (own) {
        updateChunk(context, content.id, idx, *own, data);
    } else {
        insertChunk(context, content.id, idx, data);
    }
    content.stored += static_cast<std::int64_t>(data.size()) - (own ? own->size : 0);
}

}  // namespace

std::int64_t writeContent(const Context& context, std::string_view bytes) {
    const auto size = static_cast<std::int64_t>(bytes.size());
    const std::int64_t content =
        context.database.insert("insert into contents(size, stored) values($1, $1)", {size});
    for (std::int64_t idx = 0; !bytes.empty(); ++idx) {
        const std::string_view chunk = bytes.substr(0, chunkSize);
        insertChunk(context, content, idx, chunk);
        bytes.remove_prefix(chunk.size());
    }
    return content;
}

Content newContent(const Context& context, std::int64_t size) {
    Content content;
    content.id =
        context.database.insert("insert into contents(size, stored) values($1, 0)", {size});
    content.size = size;
    return content;
}

void writeRange(const Context& context, Content& content, std::int64_t offset,
                std::string_view bytes) {
    while (!bytes.empty()) {
        const std::int64_t start = offset % chunkSize;
        const std::string_view piece = bytes.substr(0, static_cast<std::size_t>(chunkSize - start));
        writePiece(context, content, offset / chunkSize, static_cast<std::size_t>(start), piece);
        offset += static_cast<std::int64_t>(piece.size());
        bytes.remove_prefix(piece.size());
    }
    content.size = std::max(content.size, offset);
    context.database.execute("update contents set size = $2, stored = $3 where id = $1",
                             {content.id, content.size, content.stored});
}

void detachFromBase(const Context& context, Content& content) {
    context.database.execute(
        "insert into extents(content, idx, chunk, size) select $1, idx, chunk, size from extents b"
        " where content = $2 and not exists(select 1 from extents e where e.content = $1"
        " and e.idx = b.idx)",
        {content.id, content.base});
    content.stored = context.database.number(
        "select coalesce(cast(sum(size) as bigint), 0) from extents where content = $1",
        {content.id});
    content.base = 0;
    context.database.execute("update contents set stored = $2 where id = $1",
                             {content.id, content.stored});
}

void readContent(const Context& context, const Content& content, const Sink& sink) {
    readRange(context, content, 0, content.size, sink);
}

void readRange(const Context& context, const Content& content, std::int64_t offset,
               std::int64_t length, const Sink& sink) {
    if (length == 0) {
        return;
    }
    RangeReader reader(context, content, offset, length, sink);
    const auto extents = context.database.query(
        "select idx, chunk, size from extents where content = $1 and idx between $3 and $4"
        " union all select idx, chunk, size from extents b"
        " where content = $2 and idx between $3 and $4 and not exists(select 1 from extents e"
        " where e.content = $1 and e.idx = b.idx) order by idx",
        {content.id, content.base, offset / chunkSize, (offset + length - 1) / chunkSize});
    while (extents->next()) {
        reader.readExtent(extents->integer(0), {extents->integer(1), extents->integer(2)});
    }
    reader.finish();
}

}  // namespace storage::kvxstore
