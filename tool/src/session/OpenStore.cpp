#include "session/OpenStore.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "session/LoginFile.h"
#include "session/Session.h"
#include "storage/kvxstore/Store.h"
#include "ui/Failure.h"
#include "ui/Text.h"

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
        if (errno == ENOENT) {
            throw Failure(ExitCode::NOT_FOUND, location.text(), "no such folder to hold it");
        }
        throw std::system_error(errno, std::generic_category());
    }
    LoginFile(location.url()).prepare();

    kvxstore::StoreOptions options;
    options.createMode = kvxstore::CreateMode::MUST_BE_NEW;
    auto store = kvxstore::Store::open(location.url(), options);
    try {
        kvxstore::NewUser newUser;
        newUser.name = user;
        std::string token = store->createUser(newUser);
        keepLogin(*store->createClient(), location, token);
        return token;
    } catch (...) {
        // A store that nobody can log in to is of no use, and would be in the way.
        store.reset();
        removeStore(file);
        throw;
    }
}

Administration::Administration(const StoreLocation& location) : store_(open(location)) {}

std::string Administration::addUser(const StoreUser& user) const {
    requireNewName(user.name);
    kvxstore::NewUser newUser;
    newUser.name = user.name;
    newUser.emailAddress = user.emailAddress;
    newUser.firstName = user.firstName;
    newUser.lastName = user.lastName;
    newUser.quota = user.quota.value_or(kvxstore::NewUser::UNLIMITED);
    return store_->createUser(newUser);
}

std::vector<StoreUser> Administration::users() const {
    std::vector<StoreUser> users;
    for (const kvxstore::User& user : store_->listUsers()) {
        StoreUser& result = users.emplace_back();
        result.name = user.name;
        result.emailAddress = user.emailAddress;
        result.firstName = user.firstName;
        result.lastName = user.lastName;
        result.used = user.used;
        if (user.quota < kvxstore::NewUser::UNLIMITED) {
            result.quota = user.quota;
        }
    }
    return users;
}

std::string Administration::renewToken(const std::u16string& name) const {
    requireUser(name);
    return store_->renewToken(name);
}

void Administration::setQuota(const std::u16string& name,
                              std::optional<unsigned long> quota) const {
    requireUser(name);
    store_->setQuota(name, quota.value_or(kvxstore::NewUser::UNLIMITED));
}

void Administration::removeUser(const std::u16string& name) const {
    requireUser(name);
    store_->removeUser(name);
}

void Administration::addBucket(const std::u16string& name, const std::u16string& owner) const {
    requireNewName(name);
    requireUser(owner);
    store_->createBucket(name, owner);
}

std::vector<StoreBucket> Administration::buckets() const {
    std::vector<StoreBucket> buckets;
    for (const kvxstore::Bucket& bucket : store_->listBuckets()) {
        buckets.push_back({bucket.name, bucket.owner, bucket.used});
    }
    return buckets;
}

std::vector<std::string> Administration::verify() const {
    try {
        return store_->verify();
    } catch (const kvxstore::StoreError& error) {
        return {error.what()};  // Too damaged to be looked through.
    }
}

void Administration::sweep() const { store_->sweep(); }

std::vector<std::pair<const char*, unsigned long>> Administration::statistics() const {
    const kvxstore::Statistics counts = store_->statistics();
    return {{"users", counts.users},       {"buckets", counts.buckets},
            {"folders", counts.folders},   {"files", counts.files},
            {"versions", counts.versions}, {"handles", counts.handles},
            {"grants", counts.grants},     {"invitations", counts.invitations},
            {"used", counts.used},         {"stored", counts.stored}};
}

void Administration::requireUser(const std::u16string& name) const {
    const auto users = store_->listUsers();
    if (std::none_of(users.begin(), users.end(),
                     [&](const kvxstore::User& user) { return user.name == name; })) {
        throw Failure(ExitCode::NOT_FOUND, toUtf8(name), "there is no such user");
    }
}

// Every user has a bucket of his name.
void Administration::requireNewName(const std::u16string& name) const {
    requireValidName(name);
    const auto buckets = store_->listBuckets();
    if (std::any_of(buckets.begin(), buckets.end(),
                    [&](const kvxstore::Bucket& bucket) { return bucket.name == name; })) {
        throw Failure(ExitCode::CONFLICT, toUtf8(name),
                      "a user or bucket of this name exists already");
    }
}

}  // namespace storage::kvxtool
