#include "storage/kvxclient/KVXClientException.h"

extern "C" KVXCLIENT_EXPORT void throwConflict() {
    throw storage::kvxclient::KVXClientException(storage::kvxclient::KVXClientErrorCode::CONFLICT);
}
