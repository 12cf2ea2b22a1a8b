#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "remote/RemoteName.h"
#include "storage/kvxclient/FileAccess.h"
#include "storage/kvxclient/IVersioning.h"
#include "ui/Diagnostics.h"
#include "ui/Output.h"

namespace storage::kvxtool {

/// One file or folder of a listing.
struct RemoteEntry {
    std::u16string name;
    bool folder = false;
    bool writable = false;
    unsigned long size = 0;
    /// As a client reported it, otherwise by the store's clock.
    std::chrono::system_clock::time_point modified;
    bool modifiedByClient = false;
};

RemoteEntry entryOf(const kvxclient::FileAttributes& attributes);

/// Throws Failure where the name has a trailing slash and is that of a file.
void requireKind(const RemoteName& name, const RemoteEntry& entry);

/// Reads what has the name. Throws when there is nothing, or when the name has a trailing slash and
/// is that of a file.
RemoteEntry readEntry(const kvxclient::FileAccess& files, const RemoteName& name);
/// The same, but empty when there is nothing.
std::optional<RemoteEntry> findEntry(const kvxclient::FileAccess& files, const RemoteName& name);

/// The entry as commands list it for programs, with its whole name.
Json jsonOf(const RemoteName& name, const RemoteEntry& entry);

/// Asks for the content of a folder that is the user's to see, without what others share.
kvxclient::FolderListRequest listRequest(const RemoteName& folder, bool showHidden);

/// Throws Failure unless `name` is a folder that exists.
void requireFolder(const kvxclient::FileAccess& files, const RemoteName& name);
/// Throws Failure where `name` is that of a folder, which has no versions.
void requireFile(const kvxclient::FileAccess& files, const RemoteName& name);

/// The version of a file that has this label or id. Throws Failure when there is none.
kvxclient::VersionSummary findVersion(const kvxclient::IVersioning& versions,
                                      const RemoteName& name, const std::string& labelOrId);

/// Throws Failure when the user can see neither `name` nor a folder above it: the bucket is missing
/// then.
void requireBucket(const kvxclient::FileAccess& files, RemoteName name);

/// Whether a bucket is the one that a name without a bucket means.
bool isOwnBucket(const kvxclient::FileAccess& files, const std::u16string& bucket);

/// Creates a folder. Returns false when something of its name is there.
bool createFolder(const kvxclient::FileAccess& files, const RemoteName& name);
/// Creates a folder and those above it, where they are missing, and calls `created` for each.
void createFolders(
    const kvxclient::FileAccess& files, const RemoteName& name,
    const std::function<void(const RemoteName&)>& created = [](const RemoteName&) {});

/// The content of one folder in the order of the names, code unit by code unit.
std::vector<RemoteEntry> entriesOf(const kvxclient::FolderListResponse& response);

/// Visits a folder and all folders below it, each before its own folders and these in order, with
/// several listings on their way at once. Folders that cannot be listed are reported and left out;
/// the first one is not: its error is thrown. Folders that `visit` takes out of the entries are not
/// visited.
void walkFolders(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
                 const RemoteName& root, bool showHidden,
                 const std::function<void(const RemoteName&, std::vector<RemoteEntry>&)>& visit);

/// Where a source goes: into a target that is a folder, or takes its place or name.
class RemoteTarget {
public:
    /// Looks the target up, and the folder to hold it where it is new. Throws Failure when that is
    /// missing, or when there are several sources and the target is no folder.
    RemoteTarget(const kvxclient::FileAccess& files, const RemoteName& target, bool severalSources);

    /// What has the name that nameFor() gave, as it was when the target was looked up or is now.
    std::optional<RemoteEntry> find(const kvxclient::FileAccess& files,
                                    const RemoteName& name) const {
        return name == target_ ? entry_ : findEntry(files, name);
    }

    /// Whether sources go into it under their own names.
    bool isFolder() const { return folder_; }
    /// The name that a source of this name gets.
    RemoteName nameFor(const std::u16string& source) const {
        return folder_ && !source.empty() ? target_.child(source) : target_;
    }

private:
    RemoteName target_;
    std::optional<RemoteEntry> entry_;
    bool folder_;
};

}  // namespace storage::kvxtool
