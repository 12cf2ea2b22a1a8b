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

ChangeFeed::ChangeFeed(const kvxclient::Notification& notifications,
                       const kvxclient::FileAccess& files, std::vector<RemoteName> names,
                       std::string watermark)
    : notifications_(notifications),
      files_(files),
      names_(std::move(names)),
      watermark_(std::move(watermark)) {}

std::vector<Change> ChangeFeed::read() {
    kvxclient::FileChangeListRequest request;
    const kvxclient::FileChangeListResponse response =
        notifications_.listFileChanges(std::move(request.withWatermark(watermark_)));
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

/// The list names every bucket, while the user's own bucket may be asked for without its name.
bool ChangeFeed::isOwn(const std::u16string& bucket) {
    const auto known = ownBuckets_.find(bucket);
    if (known != ownBuckets_.end()) {
        return known->second;
    }
    return ownBuckets_[bucket] = isOwnBucket(files_, bucket);
}

}  // namespace storage::kvxtool
