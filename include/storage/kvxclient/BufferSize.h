#pragma once

/// @file
/// The sizes of read and write buffers.

#include "storage/kvxclient/Export.h"

namespace storage::kvxclient {

/// The process-wide sizes of read and write buffers.
///
/// Plain variables: an application may change them before it creates records. REQUIRES: no other
/// thread uses the library while they change.
class KVXCLIENT_EXPORT BufferSize {
public:
    /// The capacity of a new FileContentReadResponse, in bytes. Initially 4,194,304.
    static unsigned long MAX_READ_BUFFER_SIZE;
    /// The most bytes a caller should write at once; the library itself does not use it. Initially
    /// 4,194,304.
    static unsigned long MAX_WRITE_BUFFER_SIZE;
};

}  // namespace storage::kvxclient
