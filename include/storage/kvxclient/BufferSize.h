#pragma once

/// @file
/// The sizes of read and write buffers.

#include "storage/kvxclient/Export.h"

namespace storage::kvxclient {

/// The process-wide sizes of read and write buffers.
///
/// Plain variables: an application may change them before it creates records. They are not
/// synchronised, so change them before other threads use the library.
class KVXCLIENT_EXPORT BufferSize {
public:
    /// How many bytes a new FileContentReadResponse has room for. Initially 4,194,304.
    static unsigned long MAX_READ_BUFFER_SIZE;
    /// How many bytes callers should write at once; the library itself does not read it.
    /// Initially 4,194,304.
    static unsigned long MAX_WRITE_BUFFER_SIZE;
};

}  // namespace storage::kvxclient
