#include "storage/kvxclient/KVXClientException.h"

extern "C" KVXCLIENT_EXPORT int catchFrom(void (*thrower)()) {
    try {
        thrower();
    } catch (const storage::kvxclient::KVXClientException& error) {
        return static_cast<int>(error.getErrorCode());
    } catch (...) {
    }
    return -1;
}
