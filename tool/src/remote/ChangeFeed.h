#pragma once

#include <map>
#include <string>
#include <vector>

#include "remote/RemoteName.h"
#include "storage/kvxclient/FileAccess.h"
#include "storage/kvxclient/Notification.h"

namespace storage::kvxtool {

/// One changed file or folder: the store does not say how it changed, and it may be gone.
struct Change {
    kvxclient::Resource resource;
    bool folder = false;
};

/// Follows the change list of the store.
class ChangeFeed {
public:
    /// Follows what happens to the names, to what is below them and to the folders above them;
    /// without names, to everything. Begins at the watermark, with an empty one at the beginning.
    ChangeFeed(const kvxclient::Notification& notifications, const kvxclient::FileAccess& files,
               std::vector<RemoteName> names, std::string watermark);

    /// What has changed since the last call, each file and folder once.
    std::vector<Change> read();

    /// Where the next call continues.
    const std::string& watermark() const { return watermark_; }

private:
    bool isWanted(const Change& change);
    bool isOwn(const std::u16string& bucket);

    const kvxclient::Notification& notifications_;
    const kvxclient::FileAccess& files_;
    std::vector<RemoteName> names_;
    std::string watermark_;
    std::map<std::u16string, bool> ownBuckets_;
};

}  // namespace storage::kvxtool
