#include "namespace/ContentReading.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/Checksum.h"
#include "core/Text.h"
#include "namespace/ResolvedPath.h"

namespace storage::kvxstore {

namespace {

/// What a reader calls the content.
std::string nameOf(const Context& context, const Content& content) {
    const ResolvedPath path = resolveNode(context, 0, content.node);
    if (path.chain.empty()) {
        return "a deleted file";
    }
    std::string name = toUtf8(path.resource().getPath()) + " in the bucket " + path.bucket.name;
    const auto row = context.database.query(
        "select label from versions where node = $1 and content = $2 order by label desc limit 1",
        {content.node, content.id});
    const std::int64_t label = content.label != 0 ? content.label
                               : row->next()      ? row->integer(0)
                                                  : 0;
    return label == 0 ? name : name + ", version " + std::to_string(label) + ',';
}

/// The whole blocks around a range of a chunk; all of a chunk whose blocks have no checksums.
struct BlockRange {
    std::int64_t begin = 0;
    std::int64_t end = 0;

    BlockRange(const Extent& extent, std::int64_t from, std::int64_t to)
        : begin(extent.checksums.empty() ? 0 : from - from % blockSize),
          end(extent.checksums.empty()
                  ? extent.size
                  : std::min((to + blockSize - 1) / blockSize * blockSize, extent.size)) {}

    std::size_t offset() const { return static_cast<std::size_t>(begin); }
    std::size_t size() const { return static_cast<std::size_t>(end - begin); }
};

/// Passes on a range piece by piece, with zeros for holes.
class RangeReader {
public:
    RangeReader(const Context& context, const Content& content, std::int64_t offset,
                std::int64_t length, const Sink& sink)
        : context_(context),
          content_(content),
          sink_(sink),
          whole_(offset == 0 && length == content.size && content.checksum != 0),
          position_(offset),
          end_(offset + length),
          covered_(offset - offset % chunkSize),
          checksum_(beginChecksum(content.size)) {}

    /// Asks ahead for what read() will read.
    void prime(const Extent& extent) const {
        const std::int64_t start = extent.idx * chunkSize;
        if (extent.chunk != 0 && extent.size > 0 && extent.size <= chunkSize && start < end_) {
            const std::int64_t from =
                std::clamp<std::int64_t>(position_ - start, 0, extent.size - 1);
            const BlockRange blocks(extent, from, std::min(end_ - start, extent.size));
            context_.database.primeChunk(extent.chunk, blocks.offset(), blocks.size());
        }
    }

    void read(const Extent& extent) {
        const std::int64_t start = std::max<std::int64_t>(extent.idx, -1) * chunkSize;
        if (!follows(extent, start)) {
            damaged("a part of it is missing");
        }
        if (context_.isCancelled()) {
            refuse(ErrorCode::BAD_NETWORK);
        }
        fillUpTo(std::min(start, end_));
        if (extent.chunk != 0) {
            pass(extent, start);
        }
        covered_ = start + (extent.chunk == 0 ? extent.size : 1) * chunkSize;
        begun_ = true;
        if (whole_) {
            checksum_ = continueChecksum(checksum_, extent);
        }
    }

    void finish() {
        if (covered_ < end_ && !mayHaveHoles()) {
            damaged("a part of it is missing");
        }
        fillUpTo(end_);
        if (whole_ && checksum_ != content_.checksum) {
            damaged("its parts are not those that were stored");
        }
    }

private:
    /// Whether what has no extent is a hole.
    bool mayHaveHoles() const {
        return content_.base != 0 || (content_.checksum == 0 && content_.stored != content_.size);
    }

    bool follows(const Extent& extent, std::int64_t start) const {
        if (extent.chunk == 0) {
            return (begun_ ? start == covered_ : start <= covered_) && start >= 0 &&
                   extent.size > 0 && extent.size <= content_.size / chunkSize + 1;
        }
        return mayHaveHoles() ? start >= covered_ : start == covered_;
    }

    void pass(const Extent& extent, std::int64_t start) {
        if (extent.size <= 0 || start + extent.size > content_.size) {
            damaged("a part of it has a wrong size");
        }
        const std::int64_t to = std::min(end_ - start, extent.size);
        // The last block tells whether the chunk really ends where the zeros begin.
        const std::int64_t from = std::min(position_ - start, extent.size - 1);
        std::string_view bytes = readChunk(context_, extent, from, to, buffer_);
        bytes.remove_prefix(std::min<std::size_t>(bytes.size(), position_ - start - from));
        sink_(bytes);
        position_ += static_cast<std::int64_t>(bytes.size());
    }

    void fillUpTo(std::int64_t end) {
        static constexpr std::array<char, 16384> zeros{};
        if (position_ < end && content_.base == 0 && content_.stored == content_.size) {
            damaged("a part of it is missing");
        }
        while (position_ < end) {
            const std::string_view piece(zeros.data(),
                                         std::min<std::size_t>(zeros.size(), end - position_));
            sink_(piece);
            position_ += static_cast<std::int64_t>(piece.size());
        }
    }

    [[noreturn]] static void damaged(const char* damage) {
        throw database::DatabaseError(StoreErrorCode::DAMAGED, damage);
    }

    const Context& context_;
    const Content& content_;
    const Sink& sink_;
    bool whole_;
    std::int64_t position_;
    std::int64_t end_;
    /// The end of the chunks and holes so far.
    std::int64_t covered_;
    bool begun_ = false;
    std::int64_t checksum_;
    std::string buffer_;
};

database::Rows selectExtents(const Context& context, const Content& content, std::int64_t first,
                             std::int64_t last) {
    if (content.base != 0) {
        return context.database.query(
            "select idx, chunk, size, checksums from extents where content = $1"
            " and idx between $3 and $4 union all select idx, chunk, size, checksums"
            " from extents b where content = $2 and chunk <> 0 and idx between $3 and $4"
            " and not exists(select 1 from extents e where e.content = $1 and e.idx = b.idx)"
            " order by idx",
            {content.id, content.base, first, last});
    }
    if (content.checksum != 0 && content.stored != content.size) {
        // A hole may begin before the range.
        first = context.database.number(
            "select coalesce(max(idx), $2) from extents where content = $1 and idx <= $2",
            {content.id, first});
    }
    return context.database.query(
        "select idx, chunk, size, checksums from extents where content = $1"
        " and idx between $2 and $3 order by idx",
        {content.id, first, last});
}

void readExtents(database::Statement& extents, RangeReader& reader) {
    constexpr std::size_t askedAtOnce = 4;
    std::array<std::string, askedAtOnce> checksums;
    std::vector<Extent> page;
    for (bool more = true; more;) {
        page.clear();
        while (page.size() < askedAtOnce && (more = extents.next())) {
            page.push_back({extents.integer(0), extents.integer(1), extents.integer(2),
                            checksums.at(page.size()) = extents.bytes(3)});
        }
        for (const Extent& extent : page) {
            reader.prime(extent);
        }
        for (const Extent& extent : page) {
            reader.read(extent);
        }
    }
}

}  // namespace

void throwDamagedContent(const Context& context, const Content& content,
                         const std::string& damage) {
    std::string name = "a file";
    try {
        name = nameOf(context, content);
    } catch (const database::DatabaseError&) {
        // The damage may be where the name is.
    }
    throw database::DatabaseError(StoreErrorCode::DAMAGED,
                                  "the content of " + name + " is damaged: " + damage);
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
    const auto damage = database::damageIn([&] {
        const auto extents =
            selectExtents(context, content, offset / chunkSize, (offset + length - 1) / chunkSize);
        readExtents(*extents, reader);
        reader.finish();
    });
    if (damage) {
        throwDamagedContent(context, content, *damage);
    }
}

std::string_view readChunk(const Context& context, const Extent& extent, std::int64_t from,
                           std::int64_t to, std::string& buffer) {
    if (extent.size <= 0 || extent.size > chunkSize) {
        throw database::DatabaseError(StoreErrorCode::DAMAGED, "a part of it has a wrong size");
    }
    const bool hasBlocks = !extent.checksums.empty();
    const auto blocks = static_cast<std::size_t>((extent.size + blockSize - 1) / blockSize);
    if (hasBlocks && extent.checksums.size() != blocks * sizeof(std::int64_t)) {
        throw database::DatabaseError(StoreErrorCode::DAMAGED, "a part of it has a wrong size");
    }
    const BlockRange range(extent, from, to);
    buffer.resize(range.size());
    context.database.readChunk(extent.chunk, range.offset(), buffer.data(), buffer.size());
    const bool sound = hasBlocks
                           ? haveChecksums(extent, range.offset() / blockSize, buffer)
                           : checksumOf(buffer) ==
                                 context.database.number(
                                     "select checksum from chunks where id = $1", {extent.chunk});
    if (!sound) {
        throw database::DatabaseError(StoreErrorCode::DAMAGED,
                                      "bytes of it are not those that were stored");
    }
    return std::string_view(buffer).substr(static_cast<std::size_t>(from - range.begin),
                                           static_cast<std::size_t>(to - from));
}

}  // namespace storage::kvxstore
