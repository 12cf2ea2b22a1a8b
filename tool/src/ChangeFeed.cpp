#include "ChangeFeed.h"

#include <algorithm>

#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtool {
namespace {

using kvxclient::FileAttributes;
using kvxclient::Resource;

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
/// without it. The same root was made at the same moment.
bool ChangeFeed::isOwn(const std::u16string& bucket) {
    const auto known = ownBuckets_.find(bucket);
    if (known != ownBuckets_.end()) {
        return known->second;
    }
    const auto root = [this](const std::u16string& name) {
        return session_.files().readFileAttributes({Resource(u"/", name)}).getFileAttributes();
    };
    bool own = false;
    try {
        const FileAttributes attributes = root(bucket);
        own = attributes.getAccessType() == kvxclient::AccessType::OWNER &&
              attributes.getCreated() == root(u"").getCreated();
    } catch (const kvxclient::KVXClientException& error) {
        // Of a bucket with a shared folder the caller may not see the root.
        if (error.getErrorCode() != kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND &&
            error.getErrorCode() != kvxclient::KVXClientErrorCode::UNAUTHORIZED) {
            throw;
        }
    }
    return ownBuckets_[bucket] = own;
}

}  // namespace storage::kvxtool
