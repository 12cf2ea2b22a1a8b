#pragma once

/// @file
/// A server that offers a transport to other machines.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "storage/kvxclient/KVXClient.h"
#include "storage/kvxserver/Export.h"

namespace storage::kvxserver {

/// Where a server listens and what it allows.
struct ServerOptions {
    /// "ADDRESS:PORT", with port 0 for any free one and brackets around an IPv6 address, or
    /// "unix:PATH" for a socket in the file system.
    std::string listen = "127.0.0.1:7420";
    /// The certificate chain and its key, PEM files, read again when they change. Both or none.
    std::string certificateFile;
    /// See certificateFile.
    std::string keyFile;
    /// Admits only clients with a certificate of these authorities, a PEM file, read again when it
    /// changes. Empty: all.
    std::string clientCaFile;
    /// Serves without TLS. REQUIRES: a loopback address or a socket in the file system.
    bool plain = false;
    /// Where metrics and /healthz are served without TLS, "ADDRESS:PORT". Empty: nowhere.
    std::string metrics;
    /// How long calls under way may go on after stop() before they end with BAD_NETWORK.
    std::chrono::seconds drain{10};

    std::size_t connections = 10'000;          ///< Open at once; further ones are refused.
    std::size_t connectionsOfAddress = 1'000;  ///< The same of one address.
    std::size_t calls = 4'096;                 ///< At once; beyond them 429.
    std::size_t callsOfUser = 512;             ///< The same of one user.
    std::size_t handlesOfSession = 1'000;      ///< Open at once; beyond them 429.
    std::chrono::seconds handleIdle{1'800};    ///< A handle unused for so long is aborted.
    std::size_t contentInHand = 256UL << 20U;  ///< Bytes; beyond them reading pauses.
    std::size_t contentOfUser = 64UL << 20U;   ///< The same of one user.
    std::size_t headerSize = 64UL << 10U;      ///< Bytes of a request's head; beyond them 431.
    std::size_t jsonSize = 1UL << 20U;         ///< Bytes of a JSON body; beyond them 413.
    /// Bytes of content of one request or answer; beyond them 413. A transport that reads more than
    /// this at once has it in memory before it is refused: tell the store the same (readLimit).
    std::size_t bodySize = 64UL << 20U;
    std::chrono::seconds headTime{10};  ///< For a request's head.
    /// Without progress within a request or an answer. A body must come at 16 KiB a second besides.
    std::chrono::seconds progressTime{60};
    std::chrono::seconds idleTime{900};  ///< Between requests.
    unsigned failedLogins = 10;          ///< Of one address in a minute, then they are delayed.
    unsigned threads = 0;                ///< For connections; 0: one for each processor.
};

/// What a server tells of a call, for its log. The texts are good until the call of the log ends.
struct CallRecord {
    std::string_view peer;             ///< The address; "unix" for a socket in the file system.
    std::string_view operation;        ///< As in the interface; empty for an unknown one.
    std::string_view session;          ///< Eight hex digits of a digest; empty without a session.
    std::string_view application;      ///< The id of the calling application.
    std::string_view call;             ///< The call's own id; empty for one that reads.
    std::string_view path;             ///< The path it is about; for debugging only.
    std::optional<std::int32_t> code;  ///< The number of its error, if it failed.
    unsigned status = 0;               ///< HTTP's.
    std::chrono::microseconds duration{0};  ///< From the request's head to the answer's end.
    std::uint64_t bytesIn = 0;              ///< Of the request's body.
    std::uint64_t bytesOut = 0;             ///< Of the answer's body.
    bool repeated = false;                  ///< Whether it got the outcome of an earlier attempt.
};

/// Serves a transport over HTTP/1.1, with TLS unless told otherwise. Any thread may call any
/// member. A call has the rights of the session that its caller names: the transport behind judges
/// it, the server never does.
class KVXSERVER_EXPORT Server {
public:
    /// Makes a client of the transport that is served. Called on threads of the server's own, for
    /// each session anew; an exception fails the call with BAD_NETWORK.
    using Factory = std::function<std::unique_ptr<kvxclient::KVXClient>()>;
    /// Takes what is told of each call. Called on threads of the server's own, several at once.
    using Log = std::function<void(const CallRecord&)>;

    /// Begins to listen; returns when connections are accepted. Throws std::invalid_argument for
    /// wrong options and std::runtime_error where it cannot listen or read the certificate, with a
    /// sentence that says what.
    Server(ServerOptions options, Factory factory, Log log = {});
    /// Stops at once: calls under way end with BAD_NETWORK.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// The port in use, 0 for a socket in the file system.
    std::uint16_t port() const;
    /// The port of the metrics, 0 for none.
    std::uint16_t metricsPort() const;
    /// Reads certificate and key again. Keeps the old ones and throws std::runtime_error when they
    /// cannot be used.
    void reloadCertificate();
    /// Accepts no more connections, lets calls under way end for as long as the options say, aborts
    /// open handles, and returns when all is done.
    void stop();

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace storage::kvxserver
