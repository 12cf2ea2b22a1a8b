#include "namespace/Contents.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "core/Checksum.h"
#include "namespace/ContentReading.h"
#include "namespace/Extents.h"

namespace storage::kvxstore {

namespace {

/// An extent with its checksums in memory of its own.
struct OwnExtent : Extent {
    explicit OwnExtent(const database::Statement& row)
        : Extent{row.integer(0), row.integer(1), row.integer(2)}, text(row.text(3)) {}

    Extent view() const { return {idx, chunk, size, text}; }

    std::string text;
};

std::optional<OwnExtent> findExtent(const Context& context, std::int64_t content,
                                    std::int64_t idx) {
    const auto row = context.database.query(
        "select idx, chunk, size, checksums from extents where content = $1 and idx = $2"
        " and chunk <> 0",
        {content, idx});
    return row->next() ? std::optional(OwnExtent(*row)) : std::nullopt;
}

std::int64_t insertContent(const Context& context, std::int64_t size, std::int64_t stored,
                           std::int64_t checksum) {
    const std::int64_t content =
        context.database.insert("contents", "size, stored, checksum", {size, stored, checksum});
    // A content whose row was lost leaves its extents to the next one with its id.
    context.database.post("delete from extents where content = $1", {content});
    return content;
}

void insertExtent(const Context& context, std::int64_t content, const Extent& extent) {
    context.database.post(
        "insert into extents(content, idx, chunk, size, checksums) values($1, $2, $3, $4, $5)",
        {content, extent.idx, extent.chunk, extent.size, database::Blob{extent.checksums}});
}

void insertChunk(const Context& context, std::int64_t content, std::int64_t idx,
                 std::string_view data, std::string_view checksums) {
    const std::int64_t chunk = context.database.insert("chunks", "checksum, data",
                                                       {checksumOf(data), database::Blob{data}});
    insertExtent(context, content, {idx, chunk, static_cast<std::int64_t>(data.size()), checksums});
}

void updateChunk(const Context& context, std::int64_t content, const Extent& old,
                 std::string_view data) {
    context.database.post("update chunks set checksum = $2, data = $3 where id = $1",
                          {old.chunk, checksumOf(data), database::Blob{data}});
    context.database.post(
        "update extents set size = $3, checksums = $4 where content = $1 and idx = $2",
        {content, old.idx, static_cast<std::int64_t>(data.size()),
         database::Blob{blockChecksumsOf(old.idx, data)}});
}

/// Writes bytes into one chunk, at an offset in it.
void writePiece(const Context& context, Content& content, std::int64_t idx, std::size_t offset,
                std::string_view bytes) {
    const std::optional<OwnExtent> own = findExtent(context, content.id, idx);
    const std::optional<OwnExtent> old =
        own || content.base == 0 ? own : findExtent(context, content.base, idx);
    const std::size_t oldSize = old ? static_cast<std::size_t>(old->size) : 0;
    std::string merged;
    std::string_view data = bytes;
    if (offset > 0 || bytes.size() < oldSize) {
        if (old) {
            readChunk(context, old->view(), 0, old->size, merged);
        }
        merged.resize(std::max(oldSize, offset + bytes.size()));
        std::copy(bytes.begin(), bytes.end(), merged.begin() + static_cast<std::ptrdiff_t>(offset));
        data = merged;
    }
    if (own) {
        updateChunk(context, content.id, *own, data);
    } else {
        insertChunk(context, content.id, idx, data, blockChecksumsOf(idx, data));
    }
    content.stored += static_cast<std::int64_t>(data.size()) - (own ? own->size : 0);
}

void shareChunks(const Context& context, std::int64_t from, std::int64_t to) {
    context.database.post(
        "insert into extents(content, idx, chunk, size, checksums)"
        " select $1, idx, chunk, size, checksums from extents b"
        " where content = $2 and chunk <> 0 and not exists(select 1 from extents e"
        " where e.content = $1 and e.idx = b.idx)",
        {to, from});
}

/// Goes over the extents of a content in order, and notes its holes.
class Sealing {
public:
    explicit Sealing(const Content& content)
        : size_(content.size), checksum_(beginChecksum(content.size)) {}

    void add(const Extent& extent) {
        skipTo(extent.idx);
        checksum_ = continueChecksum(checksum_, extent);
        complete_ = complete_ && !extent.checksums.empty();
        stored_ += extent.size;
        next_ = extent.idx + 1;
    }

    void finish() { skipTo((size_ + chunkSize - 1) / chunkSize); }

    std::int64_t stored() const { return stored_; }
    /// 0 when some extents have none.
    std::int64_t checksum() const { return complete_ ? checksum_ : 0; }
    const std::vector<Extent>& holes() const { return holes_; }

private:
    void skipTo(std::int64_t idx) {
        if (idx > next_) {
            holes_.push_back({next_, 0, idx - next_});
            checksum_ = continueChecksum(checksum_, holes_.back());
        }
    }

    std::int64_t size_;
    std::int64_t next_ = 0;
    std::int64_t stored_ = 0;
    std::int64_t checksum_;
    bool complete_ = true;
    std::vector<Extent> holes_;
};

}  // namespace

std::int64_t rowChecksumOf(const Content& content) {
    if (content.checksum == 0) {
        return 0;
    }
    return continueChecksum(content.checksum, {content.size, 0, content.stored});
}

void requireRow(const Context& context, const Content& content, std::int64_t expected) {
    const bool possible =
        content.size >= 0 && content.stored >= 0 && content.stored <= content.size;
    if (!possible || (expected != 0 && expected != rowChecksumOf(content))) {
        throwDamagedContent(context, content, "its row is not the one that was stored");
    }
}

void requireExtents(const Context& context, const Content& content) {
    std::int64_t checksum = beginChecksum(content.size);
    std::int64_t stored = 0;
    const auto extents = context.database.query(
        "select idx, chunk, size, checksums from extents where content = $1 order by idx",
        {content.id});
    while (extents->next()) {
        const Extent extent{extents->integer(0), extents->integer(1), extents->integer(2),
                            extents->bytes(3)};
        checksum = continueChecksum(checksum, extent);
        stored += extent.chunk == 0 ? 0 : extent.size;
    }
    if (stored != content.stored || (content.checksum != 0 && checksum != content.checksum)) {
        throwDamagedContent(context, content, "its parts are not those that were stored");
    }
}

NewBytes::NewBytes(std::string_view bytes)
    : bytes_(bytes), checksum_(beginChecksum(static_cast<std::int64_t>(bytes.size()))) {
    for (std::int64_t idx = 0; !bytes.empty(); ++idx) {
        const std::string_view chunk = bytes.substr(0, chunkSize);
        checksums_.push_back(blockChecksumsOf(idx, chunk));
        checksum_ = continueChecksum(
            checksum_, {idx, 1, static_cast<std::int64_t>(chunk.size()), checksums_.back()});
        bytes.remove_prefix(chunk.size());
    }
}

Content NewBytes::write(const Context& context) const {
    Content content;
    content.size = content.stored = size();
    content.checksum = checksum_;
    content.id = insertContent(context, size(), size(), checksum_);
    for (std::size_t idx = 0; idx < checksums_.size(); ++idx) {
        insertChunk(context, content.id, static_cast<std::int64_t>(idx),
                    bytes_.substr(idx * chunkSize, chunkSize), checksums_[idx]);
    }
    return content;
}

bool NewBytes::equal(const Context& context, const Content& content) const {
    if (content.checksum != checksum_ || content.size != size()) {
        return false;
    }
    bool same = true;
    std::string_view rest = bytes_;
    readContent(context, content, [&](std::string_view piece) {
        same = same && rest.starts_with(piece);
        rest.remove_prefix(std::min(rest.size(), piece.size()));
    });
    return same;
}

Content newContent(const Context& context, std::int64_t size) {
    Content content;
    content.id = insertContent(context, size, 0, 0);
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
    context.database.post("update contents set size = $2, stored = $3 where id = $1",
                          {content.id, content.size, content.stored});
}

void sealContent(const Context& context, Content& content) {
    if (content.base != 0) {
        shareChunks(context, content.base, content.id);
        content.base = 0;
    }
    Sealing sealing(content);
    {
        const auto extents = context.database.query(
            "select idx, chunk, size, checksums from extents where content = $1 and chunk <> 0"
            " order by idx",
            {content.id});
        while (extents->next()) {
            sealing.add(
                {extents->integer(0), extents->integer(1), extents->integer(2), extents->bytes(3)});
        }
        sealing.finish();
    }
    content.stored = sealing.stored();
    content.checksum = sealing.checksum();
    if (content.checksum != 0) {
        for (const Extent& hole : sealing.holes()) {
            insertExtent(context, content.id, hole);
        }
    }
    context.database.post("update contents set stored = $2, checksum = $3 where id = $1",
                          {content.id, content.stored, content.checksum});
}

bool haveSameBytes(const Context& context, const Content& a, const Content& b) {
    if (a.checksum == 0 || a.checksum != b.checksum || a.size != b.size) {
        return false;
    }
    // Equal checksums mean equal holes, too.
    const auto pairs = context.database.query(
        "select a.idx, a.size, a.checksums, a.chunk, b.chunk from extents a"
        " join extents b on b.content = $2 and b.idx = a.idx"
        " where a.content = $1 and a.chunk <> b.chunk order by a.idx",
        {a.id, b.id});
    std::string first;
    std::string second;
    while (pairs->next()) {
        Extent extent{pairs->integer(0), pairs->integer(3), pairs->integer(1), pairs->bytes(2)};
        readChunk(context, extent, 0, extent.size, first);
        extent.chunk = pairs->integer(4);
        readChunk(context, extent, 0, extent.size, second);
        if (first != second) {
            return false;
        }
    }
    return true;
}

}  // namespace storage::kvxstore
