#include "storage/kvxstore/Store.h"

#include <utility>

#include "database/Open.h"
#include "operations/Administration.h"
#include "operations/Maintenance.h"
#include "services/AdministrationCall.h"
#include "services/Client.h"

namespace storage::kvxstore {

using database::Access;
using operations::Context;
using services::administer;

StoreError::~StoreError() = default;

Store::Store(std::shared_ptr<services::Engine> engine) : engine_(std::move(engine)) {}

Store::~Store() = default;

std::shared_ptr<Store> Store::open(const std::string& url, StoreOptions options) {
    try {
        return std::shared_ptr<Store>(new Store(services::Engine::start(url, std::move(options))));
    } catch (const database::DatabaseError& error) {
        throw StoreError(error.storeErrorCode(),
                         "cannot open the store " + url + ": " + error.what());
    }
}

std::optional<std::string> Store::filePath(const std::string& url) {
    return database::filePath(url);
}

std::unique_ptr<kvxclient::KVXClient> Store::createClient() const {
    return services::makeClient(engine_);
}

std::string Store::createUser(const NewUser& user) const {
    return administer(*engine_, Access::WRITE, [&](const Context& context) {
        return operations::createUser(context.database, user, context.now());
    });
}

std::vector<User> Store::listUsers() const {
    return administer(*engine_, Access::READ, [](const Context& context) {
        return operations::listUsers(context.database);
    });
}

std::string Store::renewToken(const std::u16string& user) const {
    return administer(*engine_, Access::WRITE, [&](const Context& context) {
        return operations::renewToken(context.database, user);
    });
}

void Store::setQuota(const std::u16string& user, unsigned long quota) const {
    administer(*engine_, Access::WRITE, [&](const Context& context) {
        operations::setQuota(context.database, user, quota);
        return true;
    });
}

void Store::removeUser(const std::u16string& name) const {
    administer(*engine_, Access::WRITE, [&](const Context& context) {
        operations::removeUser(context.database, name);
        return true;
    });
}

void Store::createBucket(const std::u16string& name, const std::u16string& owner) const {
    administer(*engine_, Access::WRITE, [&](const Context& context) {
        operations::createBucket(context.database, name, owner, context.now());
        return true;
    });
}

std::vector<Bucket> Store::listBuckets() const {
    return administer(*engine_, Access::READ, [](const Context& context) {
        return operations::listBuckets(context.database);
    });
}

std::vector<std::string> Store::verify() const {
    return administer(*engine_, Access::READ,
                      [](const Context& context) { return operations::verify(context.database); });
}

Statistics Store::statistics() const {
    return administer(*engine_, Access::READ, [](const Context& context) {
        return operations::countAll(context.database);
    });
}

void Store::sweep() const {
    const auto cleanSome = [](const Context& context) {
        return operations::clean(context.database, context.instance, context.now());
    };
    while (administer(*engine_, Access::WRITE, cleanSome)) {
    }
}

}  // namespace storage::kvxstore
