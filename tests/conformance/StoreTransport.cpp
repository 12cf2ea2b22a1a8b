#include <cstdlib>
#include <filesystem>

#include "BrokenTransport.h"
#include "storage/kvxstore/Store.h"

// The embedded store as the kit sees it; in memory unless CONFORMANCE_STORE is "file",
// or "server" for the one that KVXSTORE_TEST_POSTGRES names, behind a decorator that misbehaves as
// CONFORMANCE_MISBEHAVIOUR says, if that is set.

namespace storage::kvxconformance {

namespace {

std::string storeUrl() {
    const char* kind = std::getenv("CONFORMANCE_STORE");
    if (kind != nullptr && std::string(kind) == "server") {
        return std::getenv("KVXSTORE_TEST_POSTGRES");
    }
    if (kind == nullptr || std::string(kind) != "file") {
        return "sqlite::memory:";
    }
    std::string folder = std::filesystem::temp_directory_path() / "kvxconformance-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary folder");
    }
    static const std::shared_ptr<void> removal(
        nullptr, [folder](void*) { std::filesystem::remove_all(folder); });
    return "sqlite://" + folder + "/store.db";
}

}  // namespace

Transport transport() {
    const std::shared_ptr<kvxstore::Store> store = kvxstore::Store::open(storeUrl());
    Transport transport;
    for (const char16_t* name : {u"owner", u"guest", u"stranger"}) {
        transport.users.push_back({name, name, store->createUser({.name = name})});
    }
    transport.logIn = [store](const User& user) {
        auto client = store->createClient();
        client->withSessionId(
            client->login(kvxclient::LoginRequest().withToken(user.token)).getSessionId());
        return client;
    };
    const char* misbehaviour = std::getenv("CONFORMANCE_MISBEHAVIOUR");
    return misbehaviour == nullptr ? transport : breakTransport(std::move(transport), misbehaviour);
}

}  // namespace storage::kvxconformance
