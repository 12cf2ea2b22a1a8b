#pragma once

#include <string>

#include "remote/RemoteName.h"
#include "session/Session.h"
#include "storage/kvxclient/Versions.h"

namespace storage::kvxtool {

/// The version of a file that has this label or id. Throws Failure when there is none.
kvxclient::VersionSummary findVersion(const Session& session, const RemoteName& name,
                                      const std::string& labelOrId);

}  // namespace storage::kvxtool
