#include "operations/Operations.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <unordered_map>
#include <vector>

#include "core/Text.h"
#include "namespace/Caller.h"
#include "namespace/Node.h"

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

    std::string text() const {
        std::string text = store_;
        for (const auto& [bucket, change] : changes_) {
            text += '-' + std::to_string(bucket) + '.' + std::to_string(change);
        }
        return text;
    }

private:
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

struct Change {
    std::int64_t node = 0;
    std::int64_t parent = 0;
    std::string name;
    Kind kind = Kind::FOLDER;
    std::int64_t seq = 0;
};

/// The paths of folders, and whether the user may see them. Looks up each folder once.
class Folders {
public:
    struct Folder {
        bool exists = false;
        bool visible = false;
        std::string path;
    };

    Folders(const Context& context, std::int64_t user) : context_(context) {
        const auto rows =
            context.database.query("select node from grants where grantee = $1", {user});
        while (rows->next()) {
            granted_.insert(rows->integer(0));
        }
    }

    /// Finds the folder or file that has, or had, a name in a folder.
    Folder within(const VisibleBucket& bucket, const Change& change) {
        if (change.parent == rootParent) {
            return {true, bucket.owned || granted_.contains(change.node), ""};
        }
        const Folder& parent = find(bucket, change.parent);
        return {parent.exists, parent.visible || granted_.contains(change.node),
                parent.exists ? parent.path + '/' + change.name : ""};
    }

private:
    const Folder& find(const VisibleBucket& bucket, std::int64_t id) {
        const auto found = folders_.find(id);
        if (found != folders_.end()) {
            return found->second;
        }
        Change self;
        {
            const auto row =
                context_.database.query("select parent, name from nodes where id = $1", {id});
            if (id <= 0 || !row->next()) {
                return folders_[id];
            }
            self = {id, row->integer(0), row->text(1)};
        }
        return folders_[id] = within(bucket, self);
    }

    const Context& context_;
    std::set<std::int64_t> granted_;
    std::unordered_map<std::int64_t, Folder> folders_;
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

/// The changes of a bucket after a known one, visible to the user or not.
std::vector<Change> changesAfter(const Context& context, std::int64_t user,
                                 const VisibleBucket& bucket, std::int64_t known) {
    const auto rows = context.database.query(
        "with recursive fresh(id) as (select node from grants where grantee = $3 and seq > $2"
        " union select n.id from nodes n join fresh f on n.parent = f.id)"
        " select id, parent, name, kind, seq from nodes where bucket = $1 and seq > $2"
        " union select id, parent, name, kind, seq from nodes"
        " where bucket = $1 and id in (select id from fresh)"
        " union select node, parent, name, kind, seq from vacated where bucket = $1 and seq > $2"
        " order by seq",
        {bucket.id, known, user});
    return collect(rows, [](const auto& row) {
        return Change{row.integer(0), row.integer(1), row.text(2), Kind(row.integer(3)),
                      row.integer(4)};
    });
}

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
    Folders folders(context, user);
    std::vector<FileChangeSummary> files;
    std::vector<FileChangeSummary> others;
    for (const VisibleBucket& bucket : buckets) {
        for (const Change& change :
             changesAfter(context, user, bucket, watermark.known(bucket.id))) {
            const auto [exists, visible, path] = folders.within(bucket, change);
            if (!exists || !visible) {
                continue;
            }
            watermark.know(bucket.id, change.seq);
            (change.kind == Kind::FILE ? files : others)
                .push_back(
                    FileChangeSummary()
                        .withResource({path.empty() ? u"/" : toUtf16(path), toUtf16(bucket.name)})
                        .withWatermark(watermark.text()));
        }
        watermark.know(bucket.id, bucket.seq);
    }
    return FileChangeListResponse()
        .withCurrentWatermark(watermark.text())
        .withFileChanges(std::move(files))
        .withFolderChanges(std::move(others));
}

}  // namespace storage::kvxstore::operations
