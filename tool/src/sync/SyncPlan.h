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
    /// Whether a client reported the time: the store has its own for what none was reported for.
    bool modifiedByClient = true;
    /// Of a folder: whether all that it has is known.
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
    /// Files that only their content can tell apart. Only by SyncRules::byContent.
    std::vector<SyncStep> comparisons;
    std::vector<SyncConflict> conflicts;
    std::size_t unchanged = 0;  ///< Files.
};

struct SyncRules {
    bool deletes = false;
    bool byContent = false;
};

/// Compares two trees. Links and special files are left out on both sides: their like is not
/// deleted in the target, and they are not either, unless something of the source takes their very
/// place. Nor is anything deleted of which the source could not tell whether it has it.
SyncPlan planSync(const SyncTree& source, const SyncTree& target, const SyncRules& rules);

/// The path of the folder that has `path`.
std::string parentPath(const std::string& path);

}  // namespace storage::kvxtool
