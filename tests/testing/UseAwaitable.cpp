// Must not compile where Boost.Asio has no coroutines.
#include "storage/kvxtesting/Asio.h"

using namespace storage;

void listen(const kvxclient::KVXClient& client) {
    kvxtesting::async::ping(client, {}, kvxtesting::use_awaitable);
}
