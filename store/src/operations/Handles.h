#pragma once

#include "core/Context.h"
#include "storage/kvxclient/FileHandles.h"

namespace storage::kvxstore::operations {

// A handle is a secret of the user who opened it. It stays good for reading, whatever becomes of
// the file and of his right to it, until it is closed, until he has no valid session any more, or
// until the program that opened it has been gone for a minute. Its resource says nothing that the
// handle does not, and is not looked at.

kvxclient::FileHandleReadOnlyCreateResponse createReadOnlyFileHandle(
    const Context& context, const kvxclient::FileHandleReadOnlyCreateRequest& request);

/// Takes the same time for a file of any size. A file that is created appears with the commit.
kvxclient::FileHandleReadWriteCreateResponse createReadWriteFileHandle(
    const Context& context, const kvxclient::FileHandleReadWriteCreateRequest& request);

kvxclient::FileContentReadResponse readFileContent(
    const Context& context, const kvxclient::FileContentReadRequest& request);

/// What is written counts in the quota at once, beside what it will replace. Refused when a commit
/// would be for want of the file, its folder or the right to change it.
kvxclient::FileContentWriteResponse writeFileContent(
    const Context& context, const kvxclient::FileContentWriteRequest& request);

/// The last commit wins: it replaces what the file, wherever it was moved, has by then. A commit
/// through a handle without a change, be it only of the content type, changes nothing. Refused
/// commits leave the handle open: with RESOURCE_NOT_FOUND when the file was deleted,
/// PARENT_RESOURCE_NOT_FOUND when the folder for a new file was, CONFLICT when another file has the
/// path of one that had to be new.
kvxclient::FileHandleCloseResponse closeFileHandle(
    const Context& context, const kvxclient::FileHandleCloseRequest& request);

}  // namespace storage::kvxstore::operations
