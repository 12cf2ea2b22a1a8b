#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>

namespace storage::kvxstore::database {

class Connection;

/// What calls name, from which the buckets are found that they work in. Hashes are those of the
/// rows.
class BucketPlan {
public:
    void addNamed(std::string bucket) { named_.insert(std::move(bucket)); }
    void addOwnOf(std::string sessionHash) { sessions_.insert(std::move(sessionHash)); }
    void addHandle(std::string hash) { handles_.insert(std::move(hash)); }
    void addInvitation(std::string id) { invitations_.insert(std::move(id)); }

    /// The ids of the buckets as they are now, in one round trip.
    std::set<std::int64_t> find(Connection& connection) const;

private:
    std::set<std::string> named_;
    std::set<std::string> sessions_;
    std::set<std::string> handles_;
    std::set<std::string> invitations_;
};

}  // namespace storage::kvxstore::database
