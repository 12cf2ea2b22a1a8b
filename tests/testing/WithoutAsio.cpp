// Must not compile: the header that knows completion tokens is not there.
#include "storage/kvxtesting/Awaitable.h"

using namespace storage;

void listen(const kvxclient::KVXClient& client) {
    kvxtesting::async::ping(client, {}, [](std::exception_ptr, kvxclient::PingResponse) {});
}
