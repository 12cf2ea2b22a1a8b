#pragma once

/// @file
/// A server that answers with given bytes and cuts where told.

#include <openssl/ssl.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace storage::kvxremote::testing {

/// What a server does with a request.
struct Reaction {
    enum class Then { KEEP, CLOSE, HOLD };
    std::string bytes;
    Then then = Then::KEEP;
};

/// Ends the connection without a byte.
inline Reaction cut() { return {{}, Reaction::Then::CLOSE}; }
/// Never answers.
inline Reaction hold() { return {{}, Reaction::Then::HOLD}; }
/// An answer with the boot id and the size of its body, and more headers, each with its line end.
Reaction answer(int status, const std::string& headers = {}, const std::string& body = "{}");

/// A request as it came.
struct SeenRequest {
    std::string head;
    std::string body;
    int connection = 0;
    /// Whether the connection went on with the TLS session of another one.
    bool resumed = false;

    std::string line() const { return head.substr(0, head.find(" HTTP/")); }
    /// The value of a header, empty without one.
    std::string header(const std::string& name) const;
};

/// Answers the question for its limits by itself, and reacts to other requests in their order as
/// the script says, then with success.
class ScriptedServer {
public:
    /// Speaks TLS if there is a PEM file with a certificate and its key.
    explicit ScriptedServer(std::deque<Reaction> script = {}, std::string maxBody = "67108864",
                            const std::string& certificate = {});
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
    std::string url() const { return "kvx+plain://" + address(); }
    /// The requests that came, without those for limits.
    std::vector<SeenRequest> seen() const;
    /// Waits until so many have come.
    void waitFor(std::size_t requests) const;

private:
    void accept();
    void serve(int socket, int number);
    Reaction reactTo(const SeenRequest& request);

    const std::string maxBody_;
    std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> tls_{nullptr, SSL_CTX_free};
    int listener_ = -1;
    int port_ = 0;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::deque<Reaction> script_;
    std::vector<SeenRequest> seen_;
    std::vector<int> sockets_;
    std::list<std::thread> threads_;
    std::thread acceptor_;
};

}  // namespace storage::kvxremote::testing
