#pragma once

#include "core/Context.h"
#include "storage/kvxclient/ChangeList.h"

namespace storage::kvxstore::operations {

/// Lists the last change of every file and folder, and of every place that one left, bucket by
/// bucket and in the order of commits, as far as the caller may see them. What was given to him
/// since the watermark is all listed. What lies below a folder that was moved or deleted goes with
/// it and is not listed itself. Every watermark in the answer may be sent in a request.
kvxclient::FileChangeListResponse listFileChanges(const Context& context,
                                                  const kvxclient::FileChangeListRequest& request);

}  // namespace storage::kvxstore::operations
