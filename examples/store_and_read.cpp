// Stores a file in an embedded store and reads it back.

#include <storage/kvxclient.h>
#include <storage/kvxstore/Store.h>
#include <iostream>

using namespace storage::kvxclient;
using storage::kvxstore::Store;

int main() try {
    const auto store = Store::open("sqlite::memory:");
    const auto client = store->createClient();
    client->withApplicationId("example");

    const auto token = store->createUser({u"anna"});
    client->withSessionId(client->login(LoginRequest().withToken(token)).getSessionId());

    const auto files = client->createFileAccess();
    const Resource greeting(u"/Grüße.txt", u"anna");
    FileCreateRequest create(greeting);
    create.appendContent("Hello, world\n", 13);
    files->createFile(std::move(create));

    const std::vector<char> content = files->readFile(greeting).getResponseBody();
    std::cout.write(content.data(), static_cast<std::streamsize>(content.size()));
} catch (const KVXClientException& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
