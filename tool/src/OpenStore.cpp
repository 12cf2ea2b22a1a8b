#include <filesystem>

#include "Failure.h"
#include "Session.h"
#include "TokenFile.h"
#include "storage/kvxstore/Store.h"

namespace storage::kvxtool {
namespace {

void removeStore(const std::filesystem::path& file) {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        std::error_code ignored;
        std::filesystem::remove(file.string() + suffix, ignored);
    }
}

}  // namespace

std::unique_ptr<kvxclient::KVXClient> openStore(const StoreLocation& location) {
    if (location.file() && !std::filesystem::exists(*location.file())) {
        throw Failure(ExitCode::NOT_FOUND, location.text(),
                      "there is no store here: kvx init creates one");
    }
    kvxstore::StoreOptions options;
    options.createMode = kvxstore::CreateMode::MUST_EXIST;
    return kvxstore::Store::open(location.url(), options)->createClient();
}

std::string createStore(const StoreLocation& location, const std::u16string& user) {
    if (!location.file()) {
        throw Failure(ExitCode::USAGE, location.text(), "only a store in a file can be created");
    }
    const std::filesystem::path& file = *location.file();
    if (std::filesystem::exists(std::filesystem::symlink_status(file))) {
        throw Failure(ExitCode::CONFLICT, location.text(),
                      "it exists already, and is left as it is");
    }
    if (location.isDefault()) {
        std::filesystem::create_directories(file.parent_path());
    }
    const TokenFile tokenFile(location.url());
    tokenFile.prepare();

    kvxstore::StoreOptions options;
    options.createMode = kvxstore::CreateMode::MUST_BE_NEW;
    auto store = kvxstore::Store::open(location.url(), options);
    try {
        kvxstore::NewUser newUser;
        newUser.name = user;
        const std::string token = store->createUser(newUser);
        tokenFile.write(token);
        return token;
    } catch (...) {
        // A store that nobody can log in to is of no use, and would be in the way.
        store.reset();
        removeStore(file);
        throw;
    }
}

}  // namespace storage::kvxtool
