#include "operations/KnownFolders.h"

#include <memory>

namespace storage::kvxstore::operations {

namespace {

constexpr std::size_t mostPlaces = 1024;

}  // namespace

KnownFolders& KnownFolders::on(database::Connection& connection) {
    std::any& attachment = connection.attachment();
    if (!attachment.has_value()) {
        attachment.emplace<KnownFolders>(connection);
    }
    return *std::any_cast<KnownFolders>(&attachment);
}

const Place* KnownFolders::find(const std::string& key) {
    const database::DataVersion version = connection_.version();
    if (version != version_) {
        places_.clear();
        version_ = version;
    }
    const auto found = places_.find(key);
    return found == places_.end() ? nullptr : &found->second;
}

void KnownFolders::add(std::string key, const Place& place) {
    if (places_.size() >= mostPlaces) {
        places_.clear();
    }
    places_.emplace(std::move(key), place);
}

}  // namespace storage::kvxstore::operations
