#pragma once

/// @file
/// A transport to a server on another machine.

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "storage/kvxclient/KVXClient.h"
#include "storage/kvxremote/Export.h"

namespace storage::kvxremote {

/// How a client reaches its servers. What the URL says goes before these values, and these before
/// the environment.
struct RemoteOptions {
    /// The certificates of the authorities that may vouch for a server, a PEM file. Empty:
    /// KVX_CA_FILE of the environment, else those of the system.
    std::string caFile;
    /// The client's own certificate and its key, PEM files. Empty: KVX_CLIENT_CERT and
    /// KVX_CLIENT_KEY of the environment, else none.
    std::string certificateFile;
    /// See certificateFile.
    std::string keyFile;
    /// How long a call may make no progress before it fails with BAD_NETWORK. A call that goes on
    /// has no limit. Between 1 second and 1 day.
    std::chrono::seconds timeout{60};
    /// How often a call is attempted when the connection is lost or the server has no room, at
    /// least 1. All attempts begin within 30 seconds.
    unsigned attempts = 4;
    /// How many connections are open at once, 1 to 1,024. Further calls wait for one.
    std::size_t connections = 64;
    /// Lets "kvx+plain:" reach other machines than this one, which sends tokens, session ids and
    /// content readable for everybody on the way.
    bool allowPlain = false;
};

/// Makes a client of the server that a URL names:
/// - "kvx://host:7420" speaks TLS and checks the server's certificate. The port is 7420 if none is
///   named. "kvx://a:7420,b:7421" names several servers of one store, tried in this order.
/// - "kvx+plain://127.0.0.1:7420" is not encrypted.
/// - "kvx+unix:///absolute/path" is a socket in the file system.
///
/// Options follow as a query: "?ca=FILE&cert=FILE&key=FILE&timeout=60&retries=4&connections=64",
/// percent-encoded, with "retries" for attempts. Nothing is sent before the first call. Copies of
/// its services share the client's connections; any thread may call any member.
///
/// Handlers run on two threads of the client's own. A call on another thread waits while 1,024
/// calls are outstanding. Calls fail with BAD_NETWORK when no server could be reached or the
/// answer was lost; the exception nests a std::runtime_error with the cause. For calls that change
/// something it begins with "not sent: " or "outcome unknown: ".
///
/// Calls through a handle that is open for writing take effect in the order in which they were
/// made. When one of them is cancelled or fails with BAD_NETWORK, the server may never have had it:
/// all later ones then fail with BAD_NETWORK, but for closing the handle with ABORT_CHANGES.
///
/// Throws std::invalid_argument when the URL or an option is wrong, with a sentence that says what.
KVXREMOTE_EXPORT std::unique_ptr<kvxclient::KVXClient> connect(std::string_view url,
                                                               RemoteOptions options = {});

/// Returns a function that makes clients as connect() does, which share their connections, threads
/// and bound of outstanding calls; cancelPendingCalls() is each client's own. For programs with a
/// client for each of many sessions. Any thread may call the function; it throws nothing but
/// std::bad_alloc.
///
/// Throws as connect() does.
KVXREMOTE_EXPORT std::function<std::unique_ptr<kvxclient::KVXClient>()> connector(
    std::string_view url, RemoteOptions options = {});

}  // namespace storage::kvxremote
