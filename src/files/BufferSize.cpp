#include "storage/kvxclient/BufferSize.h"

namespace storage::kvxclient {

unsigned long BufferSize::MAX_READ_BUFFER_SIZE = 4'194'304;
unsigned long BufferSize::MAX_WRITE_BUFFER_SIZE = 4'194'304;

}  // namespace storage::kvxclient
