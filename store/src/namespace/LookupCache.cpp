#include "namespace/LookupCache.h"

#include <utility>

namespace storage::kvxstore {

namespace {

constexpr std::size_t mostEntries = 1024;

}  // namespace

LookupCache& LookupCache::on(database::Connection& connection) {
    std::any& attachment = connection.attachment();
    if (!attachment.has_value()) {
        attachment.emplace<LookupCache>(connection);
    }
    return *std::any_cast<LookupCache>(&attachment);
}

std::unordered_map<std::string, SessionRow>& LookupCache::sessions() {
    look();
    if (sessions_.size() > mostEntries) {
        sessions_.clear();
    }
    return sessions_;
}

std::unordered_map<std::string, std::int64_t>& LookupCache::owners() {
    if (owners_.size() > mostEntries) {
        owners_.clear();
    }
    return owners_;
}

const ResolvedPath* LookupCache::guessFolder(const std::string& key) const {
    const auto found = folders_.find(key);
    return found == folders_.end() ? nullptr : &found->second.path;
}

const ResolvedPath* LookupCache::findFolder(const std::string& key) {
    look();
    const auto found = folders_.find(key);
    if (found == folders_.end()) {
        return nullptr;
    }
    Folder& folder = found->second;
    if (folder.checked != state_) {
        const BucketRow* const bucket = connection_.buckets().find(folder.path.bucket.id);
        if (bucket == nullptr || bucket->structure != folder.path.bucket.structure) {
            folders_.erase(found);
            return nullptr;
        }
        folder.checked = state_;
    }
    return &folder.path;
}

void LookupCache::addFolder(std::string key, ResolvedPath path) {
    if (folders_.size() > mostEntries) {
        folders_.clear();
    }
    folders_.insert_or_assign(std::move(key), Folder{std::move(path), state_});
}

void LookupCache::look() {
    const database::DataVersion version = connection_.version();
    if (version == version_) {
        return;
    }
    sessions_.clear();
    if (version.undone != version_.undone) {
        // What was undone had a structure that another change may get.
        folders_.clear();
    }
    version_ = version;
    ++state_;
}

}  // namespace storage::kvxstore
