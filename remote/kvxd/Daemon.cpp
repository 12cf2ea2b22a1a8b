#include "Daemon.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "Log.h"
#include "storage/kvxclient/BufferSize.h"
#include "storage/kvxremote/Remote.h"
#include "storage/kvxstore/Store.h"

namespace storage::kvxd {

namespace {

using Factory = kvxserver::Server::Factory;

/// Tells systemd, if it has started the program.
void notifySystem(const char* state) {
    const char* path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path == nullptr || *path == '\0' || std::strlen(path) >= sizeof address.sun_path) {
        return;
    }
    std::strcpy(address.sun_path, path);
    if (*path == '@') {  // A name that is not in the file system.
        address.sun_path[0] = '\0';
    }
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + std::strlen(path));
    ::sendto(socket, state, std::strlen(state), MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&address), size);
    ::close(socket);
}

/// A store refuses what is too large for an answer before it reads it; behind another server that
/// one does.
Factory openStore(const std::string& url, std::size_t mostContent) {
    if (url.rfind("kvx:", 0) == 0 || url.rfind("kvx+", 0) == 0) {
        return kvxremote::connector(url);
    }
    try {
        kvxstore::StoreOptions options;
        options.readLimit = mostContent;
        return [store = kvxstore::Store::open(url, std::move(options))] {
            return store->createClient();
        };
    } catch (const kvxstore::StoreError& error) {
        if (error.code() == kvxstore::StoreErrorCode::ILLEGAL_URL) {
            throw std::invalid_argument(error.what());
        }
        throw;
    }
}

sigset_t watchedSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaddset(&signals, signal);
    }
    return signals;
}

/// Each connection is an open file, and a shell allows a tenth of the default limit.
void allowManyConnections() {
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) == 0) {
        files.rlim_cur = files.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &files);
    }
}

void writePort(const std::string& file, std::uint16_t port) {
    // Nobody must read half a number.
    const std::string unfinished = file + ".new";
    std::ofstream out(unfinished);
    out << port << "\n";
    out.close();
    if (!out || std::rename(unfinished.c_str(), file.c_str()) != 0) {
        throw std::runtime_error("cannot write " + file);
    }
}

/// Returns when the program has to end.
void awaitEnd(kvxserver::Server& server, Log& log, const sigset_t& signals) {
    int signal = 0;
    while (::sigwait(&signals, &signal) != 0 || signal == SIGHUP) {
        try {
            server.reloadCertificate();
            log.tell("certificate read again");
        } catch (const std::exception& error) {
            log.warn(error.what());
        }
    }
}

}  // namespace

void serve(const Options& options) {
    // Before the first thread, which then leaves the signals to this one.
    const sigset_t signals = watchedSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    allowManyConnections();
    // Each answer with content would reserve as much.
    kvxclient::BufferSize::MAX_READ_BUFFER_SIZE = 64UL << 10U;

    Log log(options.log);
    kvxserver::Server server(options.server, openStore(options.store, options.server.bodySize),
                             [&log](const kvxserver::CallRecord& call) { log.tell(call); });
    log.tell("ready", server.port(), server.metricsPort());
    if (!options.portFile.empty()) {
        writePort(options.portFile, server.port());
    }
    notifySystem("READY=1");
    awaitEnd(server, log, signals);
    notifySystem("STOPPING=1");
    log.tell("ending");
    server.stop();
}

}  // namespace storage::kvxd
