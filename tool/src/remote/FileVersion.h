#pragma once

#include <string>

#include "remote/RemoteName.h"
#include "storage/kvxclient/FileAccess.h"
#include "storage/kvxclient/IVersioning.h"

namespace storage::kvxtool {

/// The version of a file that has this label or id. Throws Failure when there is none.
kvxclient::VersionSummary findVersion(const kvxclient::IVersioning& versions,
                                      const RemoteName& name, const std::string& labelOrId);

/// Throws Failure where `name` is that of a folder, which has no versions.
void requireFile(const kvxclient::FileAccess& files, const RemoteName& name);

}  // namespace storage::kvxtool
