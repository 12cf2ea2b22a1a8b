#include "namespace/LookupCache.h"

#include <utility>

namespace storage::kvxstore {

namespace {

constexpr std::size_t mostEntries = 1024;
/// A resolved path has a node for each level.
constexpr std::size_t mostLevels = 32;

template <class Map>
const typename Map::mapped_type* find(const Map& map, const std::string& key) {
    const auto found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
}

template <class Map, class Entry>
void add(Map& map, std::string key, const Entry& entry) {
    if (map.size() >= mostEntries) {
        map.clear();
    }
    map.emplace(std::move(key), entry);
}

}  // namespace

LookupCache& LookupCache::on(database::Connection& connection) {
    std::any& attachment = connection.attachment();
    if (!attachment.has_value()) {
        attachment.emplace<LookupCache>(connection);
    }
    return *std::any_cast<LookupCache>(&attachment);
}

const SessionRow* LookupCache::session(const std::string& id) {
    clearAfterWrites();
    return find(sessions_, id);
}

const ResolvedPath* LookupCache::folder(const std::string& key) {
    clearAfterWrites();
    return find(folders_, key);
}

void LookupCache::addSession(const std::string& id, const SessionRow& session) {
    add(sessions_, id, session);
}

void LookupCache::addFolder(std::string key, const ResolvedPath& folder) {
    if (folder.chain.size() <= mostLevels) {
        add(folders_, std::move(key), folder);
    }
}

void LookupCache::clearAfterWrites() {
    const database::DataVersion version = connection_.version();
    if (version != version_) {
        sessions_.clear();
        folders_.clear();
        version_ = version;
    }
}

}  // namespace storage::kvxstore
