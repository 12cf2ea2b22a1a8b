#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace storage::kvxtool {

/// What a sync compares of one file or folder.
struct SyncEntry {
    /// TEMPORARY is what a download writes, perhaps that of another sync.
    enum class Kind { FILE, FOLDER, LINK, SPECIAL, TEMPORARY, STORE };

    Kind kind = Kind::FILE;
    unsigned long size = 0;
    std::chrono::system_clock::time_point modified;
    /// Whether a client reported the time; otherwise it is the store's own.
    bool modifiedByClient = true;
    /// For a folder: whether all its content is known.
    bool complete = true;

    bool isLeftOut() const { return kind != Kind::FILE && kind != Kind::FOLDER; }
};

/// Files and folders by their path below the top folder, which has the empty path.
using SyncTree = std::map<std::string, SyncEntry>;

struct SyncStep {
    std::string path;
    SyncEntry entry;
};

/// Where the target has something of another kind, which stays.
struct SyncConflict {
    std::string path;
    SyncEntry::Kind source;
    SyncEntry::Kind target;
};

/// What makes the target like the source, in this order.
struct SyncPlan {
    std::vector<SyncStep> deletions;  ///< What a folder has comes before the folder.
    std::vector<SyncStep> folders;    ///< To create: a folder comes before what it has.
    std::vector<SyncStep> transfers;
    /// Files that may differ in content only. Empty without SyncRules::byContent.
    std::vector<SyncStep> comparisons;
    std::vector<SyncConflict> conflicts;
    std::size_t unchanged = 0;    ///< Files.
    std::size_t targetFiles = 0;  ///< That the target has before.

    std::size_t deletedFiles() const;
};

struct SyncRules {
    bool deletes = false;
    bool byContent = false;
    bool keepsNewer = false;     ///< A file stays whose target was modified later.
    bool keepsExisting = false;  ///< A file stays that the target has.
    bool bySizeOnly = false;
    std::chrono::nanoseconds window{};  ///< Times so close are the same.
};

/// Compares two trees. Links and special files are left out on both sides: where the source has
/// one, nothing is deleted in the target; one in the target stays unless the source has a file or
/// folder of that path. Nothing is deleted in a folder that could not be listed in the source.
SyncPlan planSync(const SyncTree& source, const SyncTree& target, const SyncRules& rules);

/// The path of the folder that has `path`.
std::string parentPath(const std::string& path);

}  // namespace storage::kvxtool
