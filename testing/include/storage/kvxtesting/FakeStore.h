#pragma once

/// @file
/// A service in memory, for tests of applications. Needs the component "store".

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "storage/kvxstore/Store.h"

namespace storage::kvxtesting {

/// A store in memory with a clock that a test moves. It behaves as the store on disk does: rights,
/// conflicts, expiry. Any thread may call any member.
class FakeStore {
public:
    /// An empty store; the faults are optional.
    explicit FakeStore(std::shared_ptr<kvxstore::FaultPlan> faults = nullptr)
        : store_(kvxstore::Store::open("sqlite::memory:", options(std::move(faults)))) {}

    /// A client that is logged in as this user, who comes to be with the first call.
    std::unique_ptr<kvxclient::KVXClient> user(const std::u16string& name) const {
        auto client = store_->createClient();
        client->withSessionId(
            client->login(kvxclient::LoginRequest().withToken(token(name))).getSessionId());
        return client;
    }
    /// The token that logs this user in, who comes to be with the first call.
    std::string token(const std::u16string& name) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto [place, isNew] = tokens_.try_emplace(name);
        if (isNew) {
            kvxstore::NewUser user;
            user.name = name;
            place->second = store_->createUser(user);
        }
        return place->second;
    }
    /// Makes a bucket of this user, who comes to be with the first call.
    void bucket(const std::u16string& name, const std::u16string& owner) const {
        token(owner);
        store_->createBucket(name, owner);
    }
    /// Lets this much time pass for the store: sessions expire, versions grow old.
    void pass(std::chrono::system_clock::duration time) const { passed_->fetch_add(time.count()); }
    /// The store, for its administration.
    const std::shared_ptr<kvxstore::Store>& store() const { return store_; }

private:
    using Passed = std::atomic<std::chrono::system_clock::rep>;

    kvxstore::StoreOptions options(std::shared_ptr<kvxstore::FaultPlan> faults) const {
        kvxstore::StoreOptions options;
        options.faults = std::move(faults);
        options.clock = [passed = passed_] {
            return std::chrono::system_clock::now() +
                   std::chrono::system_clock::duration(passed->load());
        };
        return options;
    }

    const std::shared_ptr<Passed> passed_ = std::make_shared<Passed>(0);
    const std::shared_ptr<kvxstore::Store> store_;
    mutable std::mutex mutex_;
    mutable std::map<std::u16string, std::string> tokens_;
};

}  // namespace storage::kvxtesting
