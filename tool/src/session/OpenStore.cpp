#include "session/OpenStore.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "session/LoginFile.h"
#include "session/Session.h"
#include "ui/Failure.h"
#include "ui/Text.h"
#ifdef KVX_HAS_REMOTE
#include "storage/kvxremote/Remote.h"
#endif

namespace storage::kvxtool {
namespace {

using kvxstore::StoreErrorCode;

/// What the codes of StoreError mean where a store is opened or created. Where no folder holds the
/// file, the system says why.
Failure openingFailure(const StoreLocation& location, const kvxstore::StoreError& error,
                       kvxstore::CreateMode mode) {
    if (location.isOnDatabaseServer()) {
        return {error.code() == StoreErrorCode::NOT_FOUND        ? ExitCode::NOT_FOUND
                : error.code() == StoreErrorCode::ALREADY_EXISTS ? ExitCode::CONFLICT
                : error.code() == StoreErrorCode::ILLEGAL_URL    ? ExitCode::USAGE
                                                                 : ExitCode::STORE_FAILED,
                location.text(), error.what()};
    }
    if (!location.file()) {
        return {ExitCode::USAGE, "", error.what()};
    }
    const bool isNew = mode == kvxstore::CreateMode::MUST_BE_NEW;
    const std::filesystem::path folder = location.file()->parent_path() / "";
    switch (error.code()) {
        case StoreErrorCode::NOT_FOUND:
            if (!isNew) {
                return {ExitCode::NOT_FOUND, location.text(),
                        "there is no store here: kvx init creates one"};
            }
            if (access(folder.c_str(), F_OK) == 0) {
                return {ExitCode::STORE_FAILED, "", error.what()};
            }
            if (errno == ENOENT) {
                return {ExitCode::NOT_FOUND, location.text(), "no such folder to hold it"};
            }
            return Failure::of(location.text(), std::make_exception_ptr(std::system_error(
                                                    errno, std::generic_category())));
        case StoreErrorCode::ALREADY_EXISTS:
            return {ExitCode::CONFLICT, location.text(), "it exists already, and is left as it is"};
        case StoreErrorCode::DAMAGED:
            return {ExitCode::STORE_DAMAGED, "", error.what()};
        default:
            return Failure::of(location.text(), std::make_exception_ptr(error));
    }
}

std::shared_ptr<kvxstore::Store> openAs(const StoreLocation& location, kvxstore::CreateMode mode) {
    kvxstore::StoreOptions options;
    options.createMode = mode;
    try {
        return kvxstore::Store::open(location.url(), options);
    } catch (const kvxstore::StoreError& error) {
        throw openingFailure(location, error, mode);
    }
}

std::unique_ptr<kvxclient::KVXClient> connectTo(const StoreLocation& location) {
#ifdef KVX_HAS_REMOTE
    try {
        return kvxremote::connect(location.url());
    } catch (const std::invalid_argument& error) {
        throw Failure(ExitCode::USAGE, "", error.what());
    }
#else
    throw Failure(ExitCode::USAGE, location.text(), "this kvx was built without the network");
#endif
}

void refuseServer(const StoreLocation& location) {
    if (location.isRemote()) {
        throw Failure(ExitCode::USAGE, location.text(),
                      "a server's store is administered on its machine: run this there, with "
                      "--store naming the store's file");
    }
}

std::string createUser(const kvxstore::Store& store, const std::u16string& name) try {
    kvxstore::NewUser user;
    user.name = name;
    return store.createUser(user);
} catch (const kvxstore::StoreError&) {
    throw Failure::of(toUtf8(name), std::current_exception());
}

}  // namespace

std::shared_ptr<kvxstore::Store> openStore(const StoreLocation& location) {
    refuseServer(location);
    return openAs(location, kvxstore::CreateMode::MUST_EXIST);
}

std::unique_ptr<kvxclient::KVXClient> openClient(const StoreLocation& location) {
    return location.isRemote() ? connectTo(location) : openStore(location)->createClient();
}

std::string createStore(const StoreLocation& location, const std::u16string& user) {
    refuseServer(location);
    if (!location.file() && !location.isOnDatabaseServer()) {
        throw Failure(ExitCode::USAGE, location.text(),
                      "only a store in a file or on a database server can be created");
    }
    if (location.isDefault()) {
        std::filesystem::create_directories(location.file()->parent_path());
    }
    LoginFile(location.loginUrl()).prepare();
    auto store = openAs(location, kvxstore::CreateMode::MUST_BE_NEW);
    try {
        std::string token = createUser(*store, user);
        keepLogin(*store->createClient(), location, token);
        return token;
    } catch (...) {
        // A store that nobody can log in to is of no use, and would be in the way.
        store.reset();
        for (const std::filesystem::path& file : location.files()) {
            std::error_code ignored;
            std::filesystem::remove(file, ignored);
        }
        throw;
    }
}

}  // namespace storage::kvxtool
