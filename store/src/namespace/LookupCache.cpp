#include "namespace/LookupCache.h"

namespace storage::kvxstore {

LookupCache& LookupCache::on(database::Connection& connection) {
    std::any& attachment = connection.attachment();
    if (!attachment.has_value()) {
        attachment.emplace<LookupCache>(connection);
    }
    return *std::any_cast<LookupCache>(&attachment);
}

std::unordered_map<std::string, SessionRow>& LookupCache::sessions() { return present(sessions_); }

std::unordered_map<std::string, ResolvedPath>& LookupCache::folders() { return present(folders_); }

template <class Map>
Map& LookupCache::present(Map& map) {
    constexpr std::size_t mostEntries = 1024;
    const database::DataVersion version = connection_.version();
    if (version != version_) {
        sessions_.clear();
        folders_.clear();
        version_ = version;
    } else if (map.size() > mostEntries) {
        map.clear();
    }
    return map;
}

}  // namespace storage::kvxstore
