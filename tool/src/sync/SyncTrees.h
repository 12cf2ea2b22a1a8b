#pragma once

#include <filesystem>

#include "remote/RemoteName.h"
#include "storage/kvxclient/FileAccess.h"
#include "sync/SyncPlan.h"
#include "ui/Diagnostics.h"

namespace storage::kvxtool {

/// Reads all that a local folder has, without following links in it. Empty when there is nothing;
/// throws when it is no folder or cannot be listed. What else cannot be read is reported.
SyncTree readLocalTree(const std::filesystem::path& top,
                       const std::vector<std::filesystem::path>& storeFiles,
                       Diagnostics& diagnostics);

/// Reads all that a remote folder has, on the same terms. Names that no local file can have are
/// reported.
SyncTree readRemoteTree(const kvxclient::FileAccess& files, const RemoteName& top,
                        Diagnostics& diagnostics);

}  // namespace storage::kvxtool
