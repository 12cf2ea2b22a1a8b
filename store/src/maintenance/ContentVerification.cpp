#include "maintenance/ContentVerification.h"

#include <algorithm>
#include <optional>
#include <set>

#include "core/Checksum.h"
#include "namespace/ContentReading.h"

namespace storage::kvxstore {

namespace {

// A database may hand over all rows of an answer at once.
constexpr std::int64_t pageSize = 64;

constexpr std::string_view selectExtentsOfChunk =
    "select content, idx, size, checksums from extents where chunk = $1";

/// The contents that were found damaged. There may be too many to remember: then each content is
/// looked at by itself.
class DamagedContents {
public:
    void add(std::int64_t content) {
        if (known_.size() < mostKnown) {
            known_.insert(content);
        } else {
            missesSome_ = true;
        }
    }
    void missSome() { missesSome_ = true; }

    bool contains(std::int64_t content) const { return known_.contains(content); }
    bool missesSome() const { return missesSome_; }

private:
    static constexpr std::size_t mostKnown = 100'000;

    std::set<std::int64_t> known_;
    bool missesSome_ = false;
};

class ContentVerifier {
public:
    ContentVerifier(const Context& context, Damages& damages)
        : context_(context), damages_(damages) {}

    void run() {
        if (!damages_.guard([&] { readChunks(); }) || !damages_.guard([&] { checkExtents(); })) {
            contents_.missSome();
        }
        damages_.guard([&] { tellVersions(); });
        damages_.guard([&] { tellOthers(); });
    }

private:
    /// Reads every chunk once, in the order in which they lie in the file.
    void readChunks() {
        constexpr int mostBreaks = 1'000;
        int breaks = 0;
        std::int64_t last = 0;
        for (std::optional<std::int64_t> unreadable = 0; unreadable;) {
            unreadable.reset();
            try {
                readChunksAfter(last);
            } catch (const database::TransientError&) {
                throw;
            } catch (const database::DatabaseError&) {
                unreadable = ++breaks > mostBreaks ? std::nullopt : chunkAfter(last);
                if (!unreadable) {
                    throw;
                }
            }
            if (unreadable) {
                addContentsOf(*unreadable);
                last = *unreadable;
            }
        }
    }

    void readChunksAfter(std::int64_t& last) {
        for (bool more = true; more;) {
            more = false;
            if (context_.database.sharesWriting()) {
                primeExtentsAfter(last);
            }
            const auto chunks = context_.database.query(
                "select id, checksum, data from chunks where id > $1 order by id limit $2",
                {last, pageSize});
            while (chunks->next()) {
                if (chunks->integer(0) <= last) {
                    database::throwDamaged("parts of contents are out of order");
                }
                checkChunk(chunks->integer(0), chunks->integer(1), chunks->bytes(2));
                last = chunks->integer(0);
                more = true;
            }
        }
    }

    /// Asks ahead, in one round trip, for what checkChunk() asks of each chunk of a page.
    void primeExtentsAfter(std::int64_t last) {
        const auto chunks = context_.database.query(
            "select id from chunks where id > $1 order by id limit $2", {last, pageSize});
        while (chunks->next()) {
            context_.database.prime(selectExtentsOfChunk, {chunks->integer(0)});
        }
    }

    /// The number of the next chunk, or nothing where even that cannot be read.
    std::optional<std::int64_t> chunkAfter(std::int64_t last) const {
        const std::int64_t next = context_.database.number(
            "select coalesce(min(id), 0) from chunks where id > $1", {last});
        return next > last ? std::optional(next) : std::nullopt;
    }

    void checkChunk(std::int64_t chunk, std::int64_t checksum, std::string_view data) {
        const bool sound = checksumOf(data) == checksum;
        bool used = false;
        const auto extents = context_.database.query(selectExtentsOfChunk, {chunk});
        while (extents->next()) {
            used = true;
            const std::string_view expected = extents->bytes(3);
            if (!sound || std::cmp_not_equal(extents->integer(2), data.size()) ||
                (!expected.empty() && expected != blockChecksumsOf(extents->integer(1), data))) {
                contents_.add(extents->integer(0));
            }
        }
        if (!used) {
            damages_.addMendable("bytes that no content uses and no cleaning would find");
        }
    }

    void addContentsOf(std::int64_t chunk) {
        const auto rows =
            context_.database.query("select content from extents where chunk = $1", {chunk});
        while (rows->next()) {
            contents_.add(rows->integer(0));
        }
    }

    /// Checks that the extents of each content are those that were stored.
    void checkExtents() {
        const auto rows = context_.database.scan(
            "select c.id, c.size, c.stored, c.checksum, e.idx, e.chunk, e.size, e.checksums,"
            " e.content is not null, e.chunk = 0 or k.id is not null from contents c"
            " left join extents e on e.content = c.id left join chunks k on k.id = e.chunk"
            " order by c.id, e.idx");
        Content content;
        std::int64_t checksum = 0;
        std::int64_t stored = 0;
        bool sound = true;
        const auto finish = [&] {
            if (!sound || stored != content.stored ||
                (content.checksum != 0 && checksum != content.checksum)) {
                contents_.add(content.id);
            }
        };
        while (rows->next()) {
            if (rows->integer(0) != content.id) {
                finish();
                content.id = rows->integer(0);
                content.size = rows->integer(1);
                content.stored = rows->integer(2);
                content.checksum = rows->integer(3);
                checksum = beginChecksum(content.size);
                stored = 0;
                sound = true;
            }
            if (rows->integer(8) != 0) {
                const Extent extent{rows->integer(4), rows->integer(5), rows->integer(6),
                                    rows->bytes(7)};
                checksum = continueChecksum(checksum, extent);
                stored += extent.chunk == 0 ? 0 : extent.size;
                sound = sound && rows->integer(9) != 0 &&
                        (extent.chunk == 0 || endsWithin(extent, content.size));
            }
        }
        finish();
    }

    static bool endsWithin(const Extent& extent, std::int64_t size) {
        return extent.idx >= 0 && extent.idx <= size / chunkSize &&
               extent.idx * chunkSize + extent.size <= size;
    }

    void tellVersions() {
        const auto rows = context_.database.scan(
            "select v.node, v.label, v.checksum, n.label, c.id, c.size, c.stored, c.checksum"
            " from versions v left join nodes n on n.id = v.node"
            " left join contents c on c.id = v.content order by v.node, v.label");
        while (rows->next()) {
            const Content content = contentOf(*rows, 4, rows->integer(0));
            const std::int64_t expected = rows->integer(2);
            if (!isSound(content, expected)) {
                damages_.addVersion(rows->integer(0), static_cast<int>(rows->integer(1)),
                                    rows->integer(1) == rows->integer(3),
                                    std::max<std::int64_t>(content.size, 0),
                                    isExpected(content, expected) ? readable(content) : 0);
            }
        }
    }

    void tellOthers() {
        for (const auto& [damage, sql] :
             {std::pair("is open with a damaged content",
                        "select h.node, h.checksum, c.id, c.size, c.stored, c.checksum,"
                        " exists(select 1 from versions v where v.content = h.base)"
                        " from handles h left join contents c on c.id = h.base"
                        " where h.base <> 0 and h.work = 0"),
              std::pair("has a download location with a damaged content",
                        "select d.node, d.checksum, c.id, c.size, c.stored, c.checksum,"
                        " exists(select 1 from versions v where v.content = d.content)"
                        " from downloads d left join contents c on c.id = d.content")}) {
            const auto rows = context_.database.query(sql);
            while (rows->next()) {
                const Content content = contentOf(*rows, 2, rows->integer(0));
                const std::int64_t expected = rows->integer(1);
                // The damage of a content is told of its versions.
                const bool isVersion = rows->integer(6) != 0;
                if (isVersion ? !isExpected(content, expected) : !isSound(content, expected)) {
                    damages_.addNode(rows->integer(0), damage);
                }
            }
        }
    }

    static Content contentOf(const database::Statement& row, int column, std::int64_t node) {
        return {row.integer(column),
                row.integer(column + 1),
                row.integer(column + 2),
                row.integer(column + 3),
                {},
                0,
                node};
    }

    static bool isExpected(const Content& content, std::int64_t expected) {
        return content.id != 0 && content.size >= 0 && content.stored >= 0 &&
               content.stored <= content.size &&
               (expected == 0 || rowChecksumOf(content) == expected);
    }

    bool isSound(const Content& content, std::int64_t expected) const {
        return isExpected(content, expected) && !contents_.contains(content.id) &&
               (!contents_.missesSome() || readable(content) == content.size);
    }

    /// How many bytes of a content can be read.
    std::int64_t readable(const Content& content) const {
        const bool mayHaveHoles = content.checksum == 0 && content.stored != content.size;
        std::int64_t covered = 0;
        std::int64_t lost = 0;
        const auto missUpTo = [&](std::int64_t end) {
            lost += mayHaveHoles ? 0 : std::max<std::int64_t>(end - covered, 0);
        };
        const auto rows = context_.database.query(
            "select idx, chunk, size, checksums from extents where content = $1 order by idx",
            {content.id});
        while (rows->next()) {
            const Extent extent{rows->integer(0), rows->integer(1), rows->integer(2),
                                rows->bytes(3)};
            if (extent.idx < 0 || extent.idx > content.size / chunkSize) {
                continue;
            }
            const std::int64_t start = extent.idx * chunkSize;
            missUpTo(start);
            lost += extent.chunk == 0 ? 0 : lostOf(extent, content.size - start);
            covered = start + (extent.chunk == 0 ? extent.size : 1) * chunkSize;
        }
        missUpTo(content.size);
        return std::max<std::int64_t>(content.size - lost, 0);
    }

    /// How many bytes of a chunk cannot be read, of those that are left of the content.
    std::int64_t lostOf(const Extent& extent, std::int64_t left) const {
        const std::int64_t end = std::min(extent.size, chunkSize);
        std::int64_t lost = canRead(extent, end - 1, end) ? 0 : std::min(chunkSize, left) - end;
        for (std::int64_t start = 0; start < end; start += blockSize) {
            const std::int64_t next = std::min(start + blockSize, end);
            lost += canRead(extent, start, next) ? 0 : next - start;
        }
        return lost;
    }

    bool canRead(const Extent& extent, std::int64_t from, std::int64_t to) const {
        std::string buffer;
        return !database::damageIn([&] { readChunk(context_, extent, from, to, buffer); });
    }

    const Context& context_;
    Damages& damages_;
    DamagedContents contents_;
};

}  // namespace

void verifyContents(const Context& context, Damages& damages) {
    ContentVerifier(context, damages).run();
}

}  // namespace storage::kvxstore
