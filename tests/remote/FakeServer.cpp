#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "FakeTransport.h"
#include "storage/kvxclient/BufferSize.h"
#include "storage/kvxserver/Server.h"

// Serves a transport that keeps nothing, so that what memory it takes is the server's own. Called
// with "--port-file FILE" and the bytes of a download.
int main(int argc, char** argv) {
    using namespace storage;
    if (argc != 4) {
        return 2;
    }
    kvxclient::BufferSize::MAX_READ_BUFFER_SIZE = 64UL << 10U;  // As kvxd.
    const auto transport = kvxremote::fakeTransport(std::strtoull(argv[3], nullptr, 10));
    kvxserver::ServerOptions options;
    options.listen = "127.0.0.1:0";
    options.plain = true;
    kvxserver::Server server(options, [&] { return kvxremote::fakeClient(transport); });
    const std::string unfinished = std::string(argv[2]) + ".new";
    std::ofstream(unfinished) << server.port() << '\n';
    std::rename(unfinished.c_str(), argv[2]);
    ::pause();
}
