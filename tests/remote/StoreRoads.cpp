#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "Proxy.h"
#include "storage/kvxconformance/Conformance.h"
#include "storage/kvxremote/Remote.h"
#include "storage/kvxserver/Server.h"
#include "storage/kvxstore/Store.h"

// The embedded store behind a server, as the kit sees it. CONFORMANCE_ROAD says which way leads
// there: plain, tls, unix, relay (two servers in a row) or slow (each block arrives 5 ms late).

namespace storage::kvxconformance {

namespace {

using Factory = kvxserver::Server::Factory;

/// Everything between a client and the store.
struct Way {
    explicit Way(const std::string& road) : folder(makeFolder()) {
        store = kvxstore::Store::open("sqlite::memory:");
        Factory clients = [this] { return store->createClient(); };
        if (road == "relay") {
            inner = std::make_unique<kvxserver::Server>(plainOptions(), clients);
            clients = kvxremote::connector(plainUrl(inner->port()));
        }
        kvxserver::ServerOptions options = plainOptions();
        if (road == "unix") {
            options.listen = "unix:" + folder + "/socket";
        } else if (road == "tls") {
            makeCertificate();
            options.plain = false;
            options.certificateFile = folder + "/cert.pem";
            options.keyFile = folder + "/key.pem";
        }
        server = std::make_unique<kvxserver::Server>(options, clients);
        url = plainUrl(server->port());
        if (road == "unix") {
            url = "kvx+unix://" + folder + "/socket";
        } else if (road == "tls") {
            url =
                "kvx://127.0.0.1:" + std::to_string(server->port()) + "?ca=" + folder + "/cert.pem";
        } else if (road == "slow") {
            proxy = std::make_unique<kvxremote::Proxy>(server->port());
            proxy->slowDown(65'536, std::chrono::milliseconds(5));
            url = plainUrl(proxy->port());
        } else if (road != "plain" && road != "relay") {
            throw std::invalid_argument("there is no road " + road);
        }
    }

    ~Way() { std::filesystem::remove_all(folder); }

    static std::string makeFolder() {
        std::string name = std::filesystem::temp_directory_path() / "kvxroads-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("cannot make a temporary folder");
        }
        return name;
    }

    static kvxserver::ServerOptions plainOptions() {
        kvxserver::ServerOptions options;
        options.listen = "127.0.0.1:0";
        options.plain = true;
        options.drain = std::chrono::seconds(0);
        return options;
    }

    static std::string plainUrl(std::uint16_t port) {
        return "kvx+plain://127.0.0.1:" + std::to_string(port);
    }

    void makeCertificate() const {
        const std::string command =
            "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 "
            "-subj /CN=localhost -addext subjectAltName=IP:127.0.0.1 -keyout " +
            folder + "/key.pem -out " + folder + "/cert.pem 2>/dev/null";
        if (std::system(command.c_str()) != 0) {
            throw std::runtime_error("openssl makes no certificate");
        }
    }

    const std::string folder;
    std::shared_ptr<kvxstore::Store> store;
    std::unique_ptr<kvxserver::Server> inner;
    std::unique_ptr<kvxserver::Server> server;
    std::unique_ptr<kvxremote::Proxy> proxy;
    std::string url;
};

/// Ends the servers and the store after the last test: the kit keeps the transport for longer than
/// there is everything that they use. libcrypto, for one, frees what it keeps for a thread only
/// when the thread ends before the program does.
class EndOfWay : public testing::Environment {
public:
    explicit EndOfWay(std::shared_ptr<Way> way) : way_(std::move(way)) {}

    void TearDown() override {
        way_->proxy.reset();
        way_->server.reset();
        way_->inner.reset();
        way_->store.reset();
    }

private:
    const std::shared_ptr<Way> way_;
};

}  // namespace

Transport transport() {
    const char* road = std::getenv("CONFORMANCE_ROAD");
    const auto way = std::make_shared<Way>(road == nullptr ? "plain" : road);
    testing::AddGlobalTestEnvironment(new EndOfWay(way));
    Transport transport;
    for (const char16_t* name : {u"owner", u"guest", u"stranger"}) {
        transport.users.push_back({name, name, way->store->createUser({.name = name})});
    }
    transport.logIn = [way](const User& user) {
        auto client = kvxremote::connect(way->url);
        client->withSessionId(
            client->login(kvxclient::LoginRequest().withToken(user.token)).getSessionId());
        return client;
    };
    return transport;
}

}  // namespace storage::kvxconformance
