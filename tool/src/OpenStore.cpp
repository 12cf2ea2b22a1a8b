#include "OpenStore.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "Failure.h"
#include "LoginFile.h"
#include "Session.h"
#include "Text.h"
#include "storage/kvxstore/Store.h"

namespace storage::kvxtool {
namespace {

void removeStore(const std::filesystem::path& file) {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        std::error_code ignored;
        std::filesystem::remove(file.string() + suffix, ignored);
    }
}

/// Refuses a file for reasons of which the store gives no kind.
void requireUsable(const std::filesystem::path& file) {
    if (!std::filesystem::exists(file)) {
        throw Failure(ExitCode::NOT_FOUND, file.string(),
                      "there is no store here: kvx init creates one");
    }
    if (access(file.c_str(), R_OK | W_OK) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
}

std::shared_ptr<kvxstore::Store> open(const StoreLocation& location) {
    if (location.file()) {
        requireUsable(*location.file());
    }
    kvxstore::StoreOptions options;
    options.createMode = kvxstore::CreateMode::MUST_EXIST;
    try {
        return kvxstore::Store::open(location.url(), options);
    } catch (const kvxstore::StoreError& error) {
        throw Failure(location.file() ? ExitCode::STORE_DAMAGED : ExitCode::USAGE, "",
                      error.what());
    }
}

void requireValidName(const std::u16string& name) {
    constexpr std::size_t LIMIT = 255;
    if (name.empty() || name == u"." || name == u".." || name.size() > LIMIT ||
        name.find_first_of(std::u16string_view(u"/\0", 2)) != std::u16string::npos) {
        throw Failure(ExitCode::REFUSED, toUtf8(name), "the name breaks the rules for names");
    }
}

}  // namespace

std::unique_ptr<kvxclient::KVXClient> openStore(const StoreLocation& location) {
    return open(location)->createClient();
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
    requireValidName(user);
    if (location.isDefault()) {
        std::filesystem::create_directories(file.parent_path());
    }
    const std::filesystem::path folder = file.parent_path() / "";
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        throw std::system_error(errno, std::generic_category());
    }
    LoginFile(location.url()).prepare();

    kvxstore::StoreOptions options;
    options.createMode = kvxstore::CreateMode::MUST_BE_NEW;
    auto store = kvxstore::Store::open(location.url(), options);
    try {
        kvxstore::NewUser newUser;
        newUser.name = user;
        const std::string token = store->createUser(newUser);
        keepLogin(*store->createClient(), location, token);
        return token;
    } catch (...) {
        // A store that nobody can log in to is of no use, and would be in the way.
        store.reset();
        removeStore(file);
        throw;
    }
}

}  // namespace storage::kvxtool
