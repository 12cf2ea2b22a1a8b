#include "operations/Operations.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/Text.h"
#include "namespace/Caller.h"
#include "namespace/ResolvedPath.h"

namespace storage::kvxstore::operations {

namespace {

/// The last known change of each bucket. Its text is the store's identity, followed by
/// "-<id>.<change>" for each bucket.
class Watermark {
public:
    Watermark(const Context& context, std::string_view text) {
        const auto identity = context.database.query("select id from identity");
        identity->next();
        store_ = identity->text(0);
        if (!text.empty()) {
            read(text);
        }
    }

    std::int64_t known(std::int64_t bucket) const {
        const auto found = changes_.find(bucket);
        return found == changes_.end() ? 0 : found->second;
    }

    void know(std::int64_t bucket, std::int64_t change) {
        changes_[bucket] = std::max(known(bucket), change);
    }

    /// Forgets the buckets that the caller does not see, so that they are listed whole when they
    /// come back.
    void keepOnly(const std::set<std::int64_t>& buckets) {
        std::erase_if(changes_, [&](const auto& entry) { return !buckets.contains(entry.first); });
    }

    /// The text before and after the change of one bucket.
    std::pair<std::string, std::string> textAround(std::int64_t bucket) const {
        std::string before = store_;
        std::string after;
        for (const auto& [other, change] : changes_) {
            if (other != bucket) {
                (other < bucket ? before : after) += textOf(other) + std::to_string(change);
            }
        }
        return {before + textOf(bucket), after};
    }

    std::string text() const {
        std::string text = store_;
        for (const auto& [bucket, change] : changes_) {
            text += textOf(bucket) + std::to_string(change);
        }
        return text;
    }

private:
    static std::string textOf(std::int64_t bucket) { return '-' + std::to_string(bucket) + '.'; }

    void read(std::string_view given) {
        std::string_view text = given;
        text.remove_prefix(std::min(text.size(), store_.size()));
        while (!text.empty()) {
            text.remove_prefix(1);
            const std::int64_t bucket = readNumber(text);
            text.remove_prefix(std::min<std::size_t>(text.size(), 1));
            changes_[bucket] = readNumber(text);
        }
        // A text that is not written again as it was is malformed.
        if (this->text() != given) {
            refuse(ErrorCode::RESOURCE_NOT_FOUND);
        }
    }

    static std::int64_t readNumber(std::string_view& text) {
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        if (error != std::errc() || number < 0) {
            refuse(ErrorCode::RESOURCE_NOT_FOUND);
        }
        return number;
    }

    std::string store_;
    std::map<std::int64_t, std::int64_t> changes_;
};

struct VisibleBucket {
    std::int64_t id = 0;
    std::string name;
    bool owned = false;
    std::int64_t seq = 0;
};

struct Place {
    bool exists = false;
    bool visible = false;
    std::string path;
};

/// Finds the places of nodes in a bucket. Remembers those of folders, up to some mebibytes.
class Places {
public:
    Places(const Context& context, std::int64_t user) : context_(context) {
        const auto rows =
            context.database.query("select node from grants where grantee = $1", {user});
        while (rows->next()) {
            granted_.insert(rows->integer(0));
        }
    }

    void enter(const VisibleBucket& bucket) {
        top_ = {true, bucket.owned, ""};
        forget();
    }

    /// The place that a node has, or had, in its parent.
    Place of(const Node& node) { return in(folder(node.parent), node); }

private:
    static constexpr std::size_t mostRemembered = 16UL << 20U;

    Place folder(std::int64_t id) {
        const std::vector<Node> upwards =
            climb(context_, id, [this](std::int64_t step) { return folders_.contains(step); });
        Place place = recall(upwards.empty() ? id : upwards.back().parent);
        for (auto step = upwards.rbegin(); step != upwards.rend(); ++step) {
            place = in(place, *step);
            remember(step->id, place);
        }
        return place;
    }

    Place in(const Place& folder, const Node& node) const {
        return {folder.exists, folder.visible || granted_.contains(node.id),
                node.parent == rootParent ? "" : folder.path + '/' + node.name};
    }

    Place recall(std::int64_t folder) const {
        const auto found = folders_.find(folder);
        return found != folders_.end() ? found->second : folder == rootParent ? top_ : Place();
    }

    void remember(std::int64_t folder, const Place& place) {
        remembered_ += sizeof(Place) + place.path.size();
        if (remembered_ > mostRemembered) {
            forget();
        }
        folders_.emplace(folder, place);
    }

    void forget() {
        folders_.clear();
        remembered_ = 0;
    }

    const Context& context_;
    std::set<std::int64_t> granted_;
    Place top_;
    std::unordered_map<std::int64_t, Place> folders_;
    std::size_t remembered_ = 0;
};

std::vector<VisibleBucket> visibleBuckets(const Context& context, std::int64_t user) {
    const auto rows = context.database.query(
        "select id, name, owner = $1, seq from buckets where owner = $1 or id in"
        " (select n.bucket from grants g join nodes n on n.id = g.node where g.grantee = $1)"
        " order by id",
        {user});
    return collect(rows, [](const auto& row) {
        return VisibleBucket{row.integer(0), row.text(1), row.integer(2) != 0, row.integer(3)};
    });
}

const std::string countChanges = "select count(*), count(case when kind = 1 then 1 end) from ";

// What is at or below the nodes that were shared with the user after a change, but has not changed
// since. Sorts ids only, because they are many.
const std::string newlyShared =
    "with recursive shared(id) as (select g.node from grants g join nodes n on n.id = g.node"
    " where g.grantee = $3 and g.seq > $2 and n.bucket = $1"
    " union select n.id from nodes n join shared s on n.parent = s.id) ";
const std::string stillShared = "nodes where id in (select id from shared) and seq <= $2";
const std::string countNewlyShared = newlyShared + countChanges + stillShared;
const std::string selectNewlyShared =
    newlyShared + "select id from " + stillShared + " order by seq, id";

// Both parts are read in the order of an index, and merged.
const std::string sinceKnown =
    "select id, parent, name, kind, seq from nodes where bucket = $1 and seq > $2"
    " union all select node, parent, name, kind, seq from vacated where bucket = $1 and seq > $2";
const std::string countChanged = countChanges + '(' + sinceKnown + ") c";
const std::string selectChanged = sinceKnown + " order by seq, id, parent, name";

/// Collects the changes that a user may see, in memory that is not much more than they take.
class ChangeList {
public:
    ChangeList(const Context& context, std::int64_t user)
        : context_(context), user_(user), places_(context, user) {}

    /// Makes room for the changes of all buckets: a list that grows is in memory twice.
    void makeRoom(const std::vector<VisibleBucket>& buckets, const Watermark& watermark) {
        std::int64_t all = 0;
        std::int64_t inFiles = 0;
        const auto count = [&](const database::Rows& counts) {
            counts->next();
            all += counts->integer(0);
            inFiles += counts->integer(1);
        };
        for (const VisibleBucket& bucket : buckets) {
            const std::int64_t known = watermark.known(bucket.id);
            count(context_.database.query(countChanged, {bucket.id, known}));
            if (known > 0) {
                count(context_.database.query(countNewlyShared, {bucket.id, known, user_}));
            }
        }
        files.reserve(static_cast<std::size_t>(inFiles));
        folders.reserve(static_cast<std::size_t>(all - inFiles));
    }

    /// Adds the changes of a bucket after the one that the watermark knows.
    void add(const VisibleBucket& bucket, const Watermark& watermark) {
        const std::int64_t known = watermark.known(bucket.id);
        const auto [before, after] = watermark.textAround(bucket.id);
        const std::u16string name = toUtf16(bucket.name);
        const auto tell = [&, &before = before, &after = after](const Node& node) {
            const Place place = places_.of(node);
            if (place.exists && place.visible) {
                const std::int64_t change = std::max(known, node.seq);
                (node.kind == Kind::FILE ? files : folders)
                    .emplace_back()
                    .withResource({place.path.empty() ? u"/" : toUtf16(place.path), name})
                    .withWatermark(before + std::to_string(change) + after);
            }
        };
        places_.enter(bucket);
        // Before the first change there was nothing to share.
        if (known > 0) {
            const auto ids = context_.database.query(selectNewlyShared, {bucket.id, known, user_});
            while (ids->next()) {
                if (const std::optional<Node> node = findNode(context_, ids->integer(0))) {
                    tell(*node);
                }
            }
        }
        const auto rows = context_.database.query(selectChanged, {bucket.id, known});
        while (rows->next()) {
            Node node;
            node.id = rows->integer(0);
            node.parent = rows->integer(1);
            node.name = rows->text(2);
            node.kind = Kind(rows->integer(3));
            node.seq = rows->integer(4);
            tell(node);
        }
    }

    std::vector<FileChangeSummary> files;
    std::vector<FileChangeSummary> folders;

private:
    const Context& context_;
    std::int64_t user_;
    Places places_;
};

}  // namespace

/// Lists the last change of every file and folder, and every path that a node has left, as far as
/// the caller may see them: bucket by bucket, in the order of commits. Lists everything below a
/// node that was shared with the caller since the watermark, but nothing below a folder that was
/// only moved or deleted. Every watermark in the answer may be sent in a request.
FileChangeListResponse listFileChanges(const Context& context,
                                       const FileChangeListRequest& request) {
    const std::int64_t user = requireUser(context);
    Watermark watermark(context, request.getWatermark());
    const std::vector<VisibleBucket> buckets = visibleBuckets(context, user);
    std::set<std::int64_t> ids;
    for (const VisibleBucket& bucket : buckets) {
        ids.insert(bucket.id);
        if (watermark.known(bucket.id) > bucket.seq) {
            refuse(ErrorCode::RESOURCE_NOT_FOUND);
        }
    }
    watermark.keepOnly(ids);
    ChangeList changes(context, user);
    changes.makeRoom(buckets, watermark);
    for (const VisibleBucket& bucket : buckets) {
        changes.add(bucket, watermark);
        watermark.know(bucket.id, bucket.seq);
    }
    FileChangeListResponse response;
    response.withCurrentWatermark(watermark.text())
        .withFileChanges(std::move(changes.files))
        .withFolderChanges(std::move(changes.folders));
    return response;
}

}  // namespace storage::kvxstore::operations
