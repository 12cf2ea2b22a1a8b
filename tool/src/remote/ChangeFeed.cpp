#include "remote/ChangeFeed.h"

#include <algorithm>

#include "remote/RemoteTree.h"

namespace storage::kvxtool {
namespace {

/// Whether a path is a folder's or below it.
bool isWithin(const std::u16string& path, const std::u16string& folder) {
    return folder == u"/" || path == folder ||
           (path.starts_with(folder) && path[folder.size()] == u'/');
}

}  // namespace

ChangeFeed::ChangeFeed(const Session& session, std::vector<RemoteName> names, std::string watermark)
    : session_(session), names_(std::move(names)), watermark_(std::move(watermark)) {}

std::vector<Change> ChangeFeed::read() {
    kvxclient::FileChangeListRequest request;
    const kvxclient::FileChangeListResponse response =
        session_.notifications().listFileChanges(std::move(request.withWatermark(watermark_)));
    std::vector<Change> changes;
    for (const kvxclient::FileChangeSummary& folder : response.getFolderChanges()) {
        changes.push_back({folder.getResource(), true});
    }
    for (const kvxclient::FileChangeSummary& file : response.getFileChanges()) {
        changes.push_back({file.getResource(), false});
    }
    std::erase_if(changes, [this](const Change& change) { return !isWanted(change); });
    watermark_ = response.getCurrentWatermark();
    return changes;
}

bool ChangeFeed::isWanted(const Change& change) {
    const std::u16string path = change.resource.getPath();
    const std::u16string bucket = change.resource.getBucket();
    const auto concerns = [&](const RemoteName& name) {
        const std::u16string wanted = name.resource().getBucket();
        return (isWithin(path, name.path()) || (change.folder && isWithin(name.path(), path))) &&
               (wanted.empty() ? isOwn(bucket) : wanted == bucket);
    };
    return names_.empty() || std::any_of(names_.begin(), names_.end(), concerns);
}

/// The list gives every bucket by its name, and the caller's own one may have been asked for
/// without it.
bool ChangeFeed::isOwn(const std::u16string& bucket) {
    const auto known = ownBuckets_.find(bucket);
    if (known != ownBuckets_.end()) {
        return known->second;
    }
    return ownBuckets_[bucket] = isOwnBucket(session_.files(), bucket);
}

}  // namespace storage::kvxtool
