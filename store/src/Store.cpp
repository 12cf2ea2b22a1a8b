#include "storage/kvxstore/Store.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "database/Open.h"
#include "database/sqlite/NewFile.h"
#include "maintenance/Cleaning.h"
#include "maintenance/Conversion.h"
#include "maintenance/Pruning.h"
#include "maintenance/Verification.h"
#include "operations/Administration.h"
#include "services/AdministrationCall.h"
#include "services/Client.h"

namespace storage::kvxstore {

using database::Access;
using services::administer;
using services::withStoreErrors;

namespace {

constexpr bool makesRoom = true;
constexpr bool tellsMeanwhile = true;

void rebuildIfThereIsRoom(database::Connection& connection) {
    const std::vector<RoomNeed> needs = connection.rebuildNeeds();
    const auto isThere = [](const RoomNeed& need) { return need.needed <= need.available; };
    if (!needs.empty() && std::ranges::all_of(needs, isThere)) {
        connection.rebuild();
    }
}

}  // namespace

StoreError::~StoreError() = default;

Store::Store(std::shared_ptr<services::Engine> engine) : engine_(std::move(engine)) {}

Store::~Store() = default;

std::shared_ptr<Store> Store::open(const std::string& url, StoreOptions options) {
    try {
        return std::shared_ptr<Store>(new Store(services::Engine::start(url, std::move(options))));
    } catch (const database::DatabaseError& error) {
        throw StoreError(error.code(),
                         "cannot open the store " + database::shownUrl(url) + ": " + error.what());
    }
}

std::optional<std::string> Store::filePath(const std::string& url) {
    return database::filePath(url);
}

std::string Store::shownUrl(const std::string& url) { return database::shownUrl(url); }

std::unique_ptr<kvxclient::KVXClient> Store::createClient() const {
    return services::makeClient(engine_);
}

std::string Store::createUser(const NewUser& user) const {
    return administer(*engine_, Access::WRITE, [&](const Context& context) {
        return operations::createUser(context, user);
    });
}

std::vector<User> Store::listUsers() const {
    return administer(*engine_, Access::READ,
                      [](const Context& context) { return operations::listUsers(context); });
}

std::string Store::renewToken(const std::u16string& user) const {
    return administer(*engine_, Access::WRITE, [&](const Context& context) {
        return operations::renewToken(context, user);
    });
}

void Store::setQuota(const std::u16string& user, unsigned long quota) const {
    administer(*engine_, Access::WRITE, [&](const Context& context) {
        operations::setQuota(context, user, quota);
        return true;
    });
}

void Store::removeUser(const std::u16string& name) const {
    const auto remove = [&](const Context& context) {
        operations::removeUser(context, name);
        return true;
    };
    administer(*engine_, Access::WRITE, remove, makesRoom);
}

void Store::createBucket(const std::u16string& name, const std::u16string& owner) const {
    administer(*engine_, Access::WRITE, [&](const Context& context) {
        operations::createBucket(context, name, owner);
        return true;
    });
}

std::vector<Bucket> Store::listBuckets() const {
    return administer(*engine_, Access::READ,
                      [](const Context& context) { return operations::listBuckets(context); });
}

unsigned long Store::verify(const std::function<void(const Damage&)>& tell) const {
    const auto verifyAll = [&](const Context& context) {
        unsigned long count = 0;
        kvxstore::verify(context, [&](const FoundDamage& damage) {
            ++count;
            tell(damage);
        });
        return count;
    };
    return administer(*engine_, Access::READ, verifyAll, !makesRoom, tellsMeanwhile);
}

std::vector<std::string> Store::verify() const {
    std::vector<std::string> sentences;
    verify([&](const Damage& damage) { sentences.push_back(damage.sentence); });
    return sentences;
}

Pruned Store::prune(const PruneRules& rules) const {
    Pruned total;
    std::vector<OldVersion> found{{}};
    do {
        const OldVersion last = found.back();
        found = administer(*engine_, Access::READ, [&](const Context& context) {
            return findOldVersions(context, rules, last);
        });
        const Pruned some =
            rules.dryRun
                ? countVersions(found)
                : administer(
                      *engine_, Access::WRITE,
                      [&](const Context& context) { return removeVersions(context, found); },
                      makesRoom);
        total.versions += some.versions;
        total.bytes += some.bytes;
    } while (!found.empty());
    return total;
}

Pruned Store::pruneDamaged(bool dryRun) const {
    Pruned total;
    DamagedVersions found;
    do {
        found = administer(*engine_, Access::READ,
                           [](const Context& context) { return findDamagedVersions(context); });
        const auto remove = [&](const Context& context) {
            return removeDamagedVersions(context, found);
        };
        const bool any = !found.old.empty() || (found.mendable && !found.worse);
        const Pruned some = dryRun || !any ? countVersions(found.old)
                                           : administer(*engine_, Access::WRITE, remove, makesRoom);
        total.versions += some.versions;
        total.bytes += some.bytes;
    } while (found.more && !dryRun);
    return total;
}

Statistics Store::statistics() const {
    return administer(*engine_, Access::READ,
                      [](const Context& context) { return operations::countAll(context); });
}

std::vector<RoomNeed> Store::rebuildNeeds() const {
    return withStoreErrors([&] { return engine_->connect()->rebuildNeeds(); });
}

void Store::sweep() const {
    // Many small portions would wait for the disk most of the time, and a long one holds up calls.
    const auto cleanSome = [](const Context& context) {
        context.database.requireWritable();
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
        bool more = true;
        while (more && std::chrono::steady_clock::now() < end) {
            more =
                clean(context.database, context.instance, context.now(), database::RowLock::CHANGE);
        }
        return more;
    };
    while (administer(*engine_, Access::WRITE, cleanSome, makesRoom)) {
    }
    std::int64_t last = 0;
    while (administer(
        *engine_, Access::WRITE,
        [&](const Context& context) { return addChecksums(context, last); }, makesRoom)) {
    }
    const auto connection = withStoreErrors([&] { return engine_->connect(); });
    withStoreErrors([&] {
        database::retryWhileBusy(engine_->options().lockPatience,
                                 [&] { rebuildIfThereIsRoom(*connection); });
    });
    const auto giveSomeBack = [](const Context& context) {
        constexpr std::size_t portion = 4UL << 20U;
        return context.database.giveRoomBack(portion, 0);
    };
    while (administer(*engine_, Access::WRITE, giveSomeBack, makesRoom)) {
    }
    // The file gets shorter with what the log has.
    connection->shortenLog(0);
}

void Store::backup(const std::string& path) const {
    database::NewFile file(path);
    administer(*engine_, Access::READ, [&](const Context& context) {
        context.database.copyInto(file.temporary());
        return true;
    });
    {
        StoreOptions options;
        options.createMode = CreateMode::MUST_EXIST;
        // In a later time, when every session, handle and download location has expired.
        options.clock = [] {
            return std::chrono::system_clock::time_point::max() - std::chrono::years(50);
        };
        const auto copy = open("sqlite:" + file.temporary(), std::move(options));
        copy->sweep();
        if (!copy->verify().empty()) {
            throw StoreError(StoreErrorCode::DAMAGED, "the copy is damaged, as verify() shows");
        }
        administer(*copy->engine_, Access::WRITE, [](const Context& context) {
            operations::forgetIdentity(context);
            return true;
        });
    }
    file.publish();
}

}  // namespace storage::kvxstore
