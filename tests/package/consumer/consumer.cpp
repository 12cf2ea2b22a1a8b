#include <storage/kvxclient.h>
#include <iostream>
#ifdef WITH_store
#include <storage/kvxstore/Store.h>
#endif
#ifdef WITH_remote
#include <storage/kvxremote/Remote.h>
#endif
#ifdef WITH_testing
#include <storage/kvxtesting/FakeStore.h>
#include <storage/kvxtesting/Matchers.h>
#include <storage/kvxtesting/Mocks.h>
#endif
#ifdef WITH_server
#include <storage/kvxserver/Server.h>
#endif

using namespace storage::kvxclient;

// A transport that knows one version list.
struct Versions : IVersioning {
    using IVersioning::listVersions;
    using IVersioning::restoreVersion;
    void listVersions(VersionListRequest request,
                      CompletionHandler<VersionListResponse> handler) const override {
        handler(VersionListResponse().withName(request.getResource().getPath()), nullptr);
    }
    void restoreVersion(VersionRestoreRequest,
                        CompletionHandler<VersionRestoreResponse> handler) const override {
        handler({}, std::make_exception_ptr(KVXClientException(KVXClientErrorCode::CONFLICT)));
    }
};

#ifdef WITH_testing
// A mock, a matcher and a store in memory, without a test program around them.
bool isTested() {
    using namespace storage::kvxtesting;
    const MockNotification changes;
    EXPECT_CALL(changes, listFileChanges).WillOnce(Fails(KVXClientErrorCode::CONFLICT));
    const auto call = [&] { changes.listFileChanges(FileChangeListRequest()); };
    return testing::Value(call, FailsWith(KVXClientErrorCode::CONFLICT)) &&
           FakeStore()
               .user(u"ada")
               ->createFileAccess()
               ->listFolder(Resource(u"/", u""))
               .getFiles()
               .empty();
}
#else
bool isTested() { return true; }
#endif

// A call through whichever parts there are: of a server, a transport to it and a store behind it.
bool isAnswered() {
#ifdef WITH_store
    const auto store = storage::kvxstore::Store::open("sqlite::memory:");
    std::unique_ptr<KVXClient> client = store->createClient();
#if defined WITH_remote && defined WITH_server
    storage::kvxserver::ServerOptions options;
    options.listen = "127.0.0.1:0";
    options.plain = true;
    const storage::kvxserver::Server server(options, [&] { return store->createClient(); });
    client = storage::kvxremote::connect("kvx+plain://127.0.0.1:" + std::to_string(server.port()));
#endif
    client->withSessionId(
        client->login(LoginRequest().withToken(store->createUser({u"anna"}))).getSessionId());
    return client->createFileAccess()->listFolder(Resource(u"/", u"")).getFiles().empty();
#else
    return true;
#endif
}

int main() {
    const Resource resource(u"/a b", u"bucket");
    const Versions versions;
    try {
        versions.restoreVersion(resource);
    } catch (const KVXClientException& error) {
        const bool good = versions.listVersions(resource).getName() == u"/a b" &&
                          error.getErrorCode() == KVXClientErrorCode::CONFLICT;
        std::cout << resource.getAsciiPercentEncodedPath() << '\n';
        return good && isAnswered() && isTested() ? 0 : 1;
    }
    return 1;
}
