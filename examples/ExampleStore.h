#pragma once

#include <storage/kvxclient.h>
#include <storage/kvxstore/Store.h>

#include <memory>
#include <string>

namespace example {

/// A store in memory, so that the examples need no file.
inline std::shared_ptr<storage::kvxstore::Store> openStore() {
    return storage::kvxstore::Store::open("sqlite::memory:");
}

/// A client that is logged in as a new user.
inline std::unique_ptr<storage::kvxclient::KVXClient> newUser(const storage::kvxstore::Store& store,
                                                              const std::u16string& name) {
    using storage::kvxclient::LoginRequest;
    const std::string token = store.createUser({name});
    auto client = store.createClient();
    client->withSessionId(client->login(LoginRequest().withToken(token)).getSessionId());
    return client;
}

/// Stores a text as a file.
inline void write(const storage::kvxclient::FileAccess& files,
                  const storage::kvxclient::Resource& resource, const std::string& text) {
    storage::kvxclient::FileCreateRequest request(resource);
    request.appendContent(text.data(), text.size());
    files.createFile(std::move(request));
}

/// The content of a file as a text.
inline std::string read(const storage::kvxclient::FileAccess& files,
                        const storage::kvxclient::Resource& resource) {
    const auto body = files.readFile(resource).getResponseBody();
    return {body.begin(), body.end()};
}

}  // namespace example
