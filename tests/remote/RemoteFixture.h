#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Proxy.h"
#include "storage/kvxclient.h"
#include "storage/kvxremote/Remote.h"
#include "storage/kvxserver/Server.h"
#include "storage/kvxstore/Store.h"

namespace storage::kvxremote {

using namespace kvxclient;
using Code = KVXClientErrorCode;

/// A logged-in user behind the network.
struct RemoteUser {
    RemoteUser(const std::string& url, const std::string& token, RemoteOptions options = {})
        : client(connect(url, std::move(options))) {
        client->withSessionId(client->login(LoginRequest().withToken(token)).getSessionId());
        files = client->createFileAccess();
        sharing = client->createAccessControl();
        versioning = client->createVersioning();
    }

    std::unique_ptr<KVXClient> client;
    std::unique_ptr<FileAccess> files;
    std::unique_ptr<AccessControl> sharing;
    std::unique_ptr<IVersioning> versioning;
};

inline FileCreateRequest createRequest(const std::u16string& path, const std::string& content) {
    FileCreateRequest request(Resource(path, u""));
    request.appendContent(content.data(), content.size());
    return request;
}

/// The code that a call fails with; nothing when it succeeds.
inline std::optional<Code> codeOf(const std::function<void()>& action) {
    try {
        action();
        return std::nullopt;
    } catch (const KVXClientException& exception) {
        return exception.getErrorCode();
    }
}

/// Without TLS, on any port.
inline kvxserver::ServerOptions serverOptions() {
    kvxserver::ServerOptions options;
    options.listen = "127.0.0.1:0";
    options.plain = true;
    options.drain = std::chrono::seconds(0);
    return options;
}

/// A store in memory with two users, a server, and a network that a test can spoil.
class RemoteTest : public ::testing::Test {
protected:
    std::string url(const std::string& query = "") const {
        return "kvx+plain://127.0.0.1:" + std::to_string(proxy.port()) + query;
    }

    std::shared_ptr<kvxstore::Store> store = kvxstore::Store::open("sqlite::memory:");
    const std::string token = store->createUser({.name = u"main"});
    const std::string friendToken = store->createUser({.name = u"friend"});
    kvxserver::Server server{serverOptions(), [this] { return store->createClient(); }};
    Proxy proxy{server.port()};
};

}  // namespace storage::kvxremote
