#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "session/StoreLocation.h"
#include "storage/kvxclient/KVXClient.h"

namespace storage::kvxstore {
class Store;
}

namespace storage::kvxtool {

// The one place that knows what store is behind the interface.

/// Makes a client of the store.
std::unique_ptr<kvxclient::KVXClient> openStore(const StoreLocation& location);

/// Creates a store with one user, keeps the user's login, and returns the token. Throws Failure,
/// with nothing left behind, when it cannot.
std::string createStore(const StoreLocation& location, const std::u16string& user);

/// A user as those who run the store see him.
struct StoreUser {
    std::u16string name = {};
    std::u16string emailAddress = {};
    std::u16string firstName = {};
    std::u16string lastName = {};
    std::optional<unsigned long> quota = {};  ///< In bytes; without one nothing is refused.
    unsigned long used = 0;
};

/// A bucket as those who run the store see it.
struct StoreBucket {
    std::u16string name;
    std::u16string owner;
    unsigned long used;
};

/// The store for those who run it: for whoever may write its file.
class Administration {
public:
    explicit Administration(const StoreLocation& location);

    /// Returns the token of the new user. Throws Failure when there cannot be such a user.
    std::string addUser(const StoreUser& user) const;
    std::vector<StoreUser> users() const;
    /// Returns a token in place of those that the user had, and ends the user's sessions.
    std::string renewToken(const std::u16string& name) const;
    /// The most bytes that the user may store; nothing for any number.
    void setQuota(const std::u16string& name, std::optional<unsigned long> quota) const;
    void removeUser(const std::u16string& name) const;

    void addBucket(const std::u16string& name, const std::u16string& owner) const;
    std::vector<StoreBucket> buckets() const;

    /// A sentence for each kind of damage.
    std::vector<std::string> verify() const;
    /// Purges what was deleted.
    void sweep() const;
    /// What there is in the store, by name.
    std::vector<std::pair<const char*, unsigned long>> statistics() const;

private:
    void requireUser(const std::u16string& name) const;
    void requireNewName(const std::u16string& name) const;

    std::shared_ptr<kvxstore::Store> store_;
};

}  // namespace storage::kvxtool
