#pragma once

#include "core/Context.h"
#include "storage/kvxclient/FileTransfer.h"
#include "storage/kvxclient/NamespaceChanges.h"

namespace storage::kvxstore::operations {

kvxclient::FileWriteResponse createFile(const Context& context,
                                        const kvxclient::FileCreateRequest& request);
kvxclient::FileReadResponse readFile(const Context& context,
                                     const kvxclient::FileReadRequest& request);
kvxclient::FileDeleteResponse deleteFile(const Context& context,
                                         const kvxclient::FileDeleteRequest& request);

/// The location is a secret of its own: whoever has it may download, without a session, for a
/// quarter of an hour.
kvxclient::FileDownloadCreateResponse createFileDownload(
    const Context& context, const kvxclient::FileDownloadCreateRequest& request);
kvxclient::FileDownloadResponse downloadFile(const Context& context,
                                             const kvxclient::FileDownloadRequest& request);

}  // namespace storage::kvxstore::operations
