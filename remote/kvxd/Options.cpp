#include "Options.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "storage/kvxclient/Version.h"

namespace storage::kvxd {

std::optional<int> parseCommandLine(int argc, char** argv, Options& options) {
    CLI::App app("Serves a file store to other machines.", "kvxd");
    kvxserver::ServerOptions& server = options.server;
    unsigned drain = 10;
    app.add_option("--store", options.store, "What is served: a store's URL or a server's")
        ->required()
        ->envname("KVXD_STORE");
    app.add_option("--listen", server.listen, "ADDRESS:PORT or unix:PATH; port 0 is any")
        ->envname("KVXD_LISTEN");
    app.add_option("--port-file", options.portFile, "Write the port here when it accepts")
        ->envname("KVXD_PORT_FILE");
    app.add_option("--tls-cert", server.certificateFile, "The certificate chain, a PEM file")
        ->envname("KVXD_TLS_CERT");
    app.add_option("--tls-key", server.keyFile, "Its key, a PEM file")->envname("KVXD_TLS_KEY");
    app.add_flag("--plain", server.plain, "Serve this machine without TLS")->envname("KVXD_PLAIN");
    app.add_option("--client-ca", server.clientCaFile,
                   "Admit only clients with a certificate of these authorities")
        ->envname("KVXD_CLIENT_CA");
    app.add_option("--metrics", server.metrics, "ADDRESS:PORT of /metrics and /healthz")
        ->envname("KVXD_METRICS");
    app.add_option("--log", options.log, "debug, info or warn")
        ->check(CLI::IsMember({"debug", "info", "warn"}))
        ->envname("KVXD_LOG");
    app.add_option("--drain", drain, "Seconds that calls may go on when it ends")
        ->check(CLI::Range(0U, 86'400U))
        ->envname("KVXD_DRAIN");
    const auto limit = [&](const char* flag, const char* variable, std::size_t& value,
                           const char* help) {
        app.add_option(flag, value, help)
            ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 40U))
            ->envname(variable);
    };
    const auto time = [&](const char* flag, const char* variable, std::chrono::seconds& value,
                          const char* help) {
        app.add_option_function<std::uint32_t>(
               flag, [&value](std::uint32_t seconds) { value = std::chrono::seconds(seconds); },
               help)
            ->check(CLI::Range(1U, 31'536'000U))
            ->envname(variable);
    };
    limit("--max-body", "KVXD_MAX_BODY", server.bodySize, "Bytes of content of one request");
    limit("--max-connections", "KVXD_MAX_CONNECTIONS", server.connections, "Open connections");
    limit("--max-connections-of-address", "KVXD_MAX_CONNECTIONS_OF_ADDRESS",
          server.connectionsOfAddress, "Open connections of one address");
    limit("--max-calls", "KVXD_MAX_CALLS", server.calls, "Calls at once");
    limit("--max-calls-of-user", "KVXD_MAX_CALLS_OF_USER", server.callsOfUser,
          "Calls of one user at once");
    limit("--max-handles", "KVXD_MAX_HANDLES", server.handlesOfSession,
          "Open handles of one session");
    limit("--max-content", "KVXD_MAX_CONTENT", server.contentInHand, "Bytes of content in hand");
    limit("--max-content-of-user", "KVXD_MAX_CONTENT_OF_USER", server.contentOfUser,
          "Bytes of content in hand of one user");
    limit("--max-head", "KVXD_MAX_HEAD", server.headerSize, "Bytes of a request's head");
    limit("--max-json", "KVXD_MAX_JSON", server.jsonSize, "Bytes of a request's JSON");
    app.add_option("--failed-logins", server.failedLogins,
                   "Failed logins of one address in a minute before they are delayed")
        ->envname("KVXD_FAILED_LOGINS");
    time("--handle-idle", "KVXD_HANDLE_IDLE", server.handleIdle,
         "Seconds after which an unused handle is aborted");
    time("--head-time", "KVXD_HEAD_TIME", server.headTime, "Seconds for a request's head");
    time("--progress-time", "KVXD_PROGRESS_TIME", server.progressTime,
         "Seconds without progress within a request or an answer");
    time("--idle-time", "KVXD_IDLE_TIME", server.idleTime, "Seconds between requests");
    app.set_version_flag("--version", "kvxd " + std::to_string(KVXCLIENT_VERSION_MAJOR) + "." +
                                          std::to_string(KVXCLIENT_VERSION_MINOR) + "." +
                                          std::to_string(KVXCLIENT_VERSION_PATCH));
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            return app.exit(error);
        }
        std::fprintf(stderr, "kvxd: %s\n", error.what());
        return wrongUsage;
    }
    server.drain = std::chrono::seconds(drain);
    return std::nullopt;
}

}  // namespace storage::kvxd
