#pragma once

#include "core/Context.h"
#include "storage/kvxclient/Versions.h"

namespace storage::kvxstore::operations {

/// Lists from the oldest to the newest, which is the current one.
kvxclient::VersionListResponse listVersions(const Context& context,
                                            const kvxclient::VersionListRequest& request);

/// Copies no byte. The restored content gets a new label in any case; createNewVersion decides
/// whether the content it replaces is kept, as for every write.
kvxclient::VersionRestoreResponse restoreVersion(const Context& context,
                                                 const kvxclient::VersionRestoreRequest& request);

}  // namespace storage::kvxstore::operations
