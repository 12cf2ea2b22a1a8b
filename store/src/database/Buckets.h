#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace storage::kvxstore::database {

class Connection;
class Statement;

/// One row is the bucket's lock, its change sequence and its share of the owner's quota.
struct BucketRow {
    std::int64_t id = 0;
    std::string name;
    std::int64_t root = 0;
    std::int64_t owner = 0;
    std::int64_t seq = 0;
    std::int64_t used = 0;
    /// Grows with every change of a folder, a right or a grant in the bucket.
    std::int64_t structure = 0;
};

/// A change of a bucket's counters.
struct BucketStep {
    std::int64_t bytes = 0;
    std::int64_t changes = 0;
    std::int64_t structure = 0;
};

/// What limits a bucket, and changes only under all buckets of the owner.
struct OwnerRow {
    std::int64_t quota = 0;
    /// Whether other buckets count in the quota too.
    bool hasOthers = false;
};

/// The buckets that a transaction works in. Counts in memory, and writes each row once.
class Buckets {
public:
    explicit Buckets(Connection& connection) : connection_(connection) {}

    /// The row of a bucket, null when there is none. Valid until the next call.
    /// Throws LocksNeeded where writing is shared and the transaction does not hold the bucket.
    const BucketRow* find(std::int64_t id);
    const BucketRow* find(const std::string& name);
    /// The bucket that has the name of its owner.
    const BucketRow* findOwn(std::int64_t user);

    /// What limits a bucket; read once a transaction. Valid until the next call.
    /// REQUIRES: a transaction for writing, in which find() found the bucket.
    const OwnerRow& ownerOf(const BucketRow& bucket);
    /// To be called after a quota was changed.
    void forgetOwners() { owners_.clear(); }

    /// Asks ahead for a find() by id, and where writing is shared for the ownerOf() it.
    void prime(std::int64_t id, std::int64_t owner);

    /// Finds the buckets, which throws LocksNeeded once for all of them.
    void need(const std::vector<std::int64_t>& ids);

    /// REQUIRES: find() found the bucket.
    void count(std::int64_t id, const BucketStep& step);

    /// Takes note of a row that this transaction locked or inserted; nothing for a bucket that does
    /// not exist.
    void hold(std::int64_t id, std::optional<BucketRow> row);

    /// Writes the counters. Called before a commit, and before a statement in a transaction for
    /// writing reads them from the table.
    void write();
    /// As write(), and forgets the rows, which somebody changes or deletes by a statement.
    void release();

    /// Forgets everything, since a transaction begins. `mustHold` says whether it may work only in
    /// buckets that it locked.
    void begin(bool mustHold);
    /// Remembers the state, for restore() after a rollback to here.
    void save() { saved_ = held_; }
    void restore() {
        held_ = saved_;
        owners_.clear();
    }

    /// How often something was counted so far.
    std::int64_t counted() const { return counted_; }

    /// The columns of a row, for read().
    static constexpr const char* select =
        "select id, name, root, owner, seq, used, structure from buckets where ";
    static BucketRow read(const Statement& row);

private:
    struct Held {
        /// Nothing for a bucket that does not exist, or has to be read again.
        std::optional<BucketRow> row;
        bool counted = false;
    };

    const BucketRow* take(Statement& found);

    Connection& connection_;
    bool mustHold_ = false;
    std::map<std::int64_t, Held> held_;
    std::map<std::int64_t, Held> saved_;
    std::map<std::int64_t, OwnerRow> owners_;
    std::int64_t counted_ = 0;
};

}  // namespace storage::kvxstore::database
