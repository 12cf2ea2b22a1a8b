#include "database/Buckets.h"

#include <utility>

#include "database/Connection.h"

namespace storage::kvxstore::database {

namespace {

const std::string selectById = std::string(Buckets::select) + "id = $1";
const std::string selectByName = std::string(Buckets::select) + "name = $1";
const std::string selectOwn =
    std::string(Buckets::select) + "owner = $1 and name = (select name from users where id = $1)";
constexpr std::string_view selectOwner =
    "select quota, (select count(*) from buckets where owner = $1) from users where id = $1";

}  // namespace

BucketRow Buckets::read(const Statement& row) {
    return {row.integer(0), row.text(1),    row.integer(2), row.integer(3),
            row.integer(4), row.integer(5), row.integer(6)};
}

const BucketRow* Buckets::take(Statement& found) {
    if (!found.next()) {
        return nullptr;
    }
    const std::int64_t id = found.integer(0);
    if (mustHold_ && !held_.contains(id)) {
        throw LocksNeeded{{id}};
    }
    Held& held = held_[id];
    if (!held.row) {
        held.row = read(found);
    }
    return &*held.row;
}

const BucketRow* Buckets::find(std::int64_t id) {
    if (const auto held = held_.find(id); held != held_.end() && held->second.row) {
        return &*held->second.row;
    }
    return take(*connection_.query(selectById, {id}));
}

const BucketRow* Buckets::find(const std::string& name) {
    for (const auto& [id, held] : held_) {
        if (held.row && held.row->name == name) {
            return &*held.row;
        }
    }
    return take(*connection_.query(selectByName, {name}));
}

const BucketRow* Buckets::findOwn(std::int64_t user) {
    return take(*connection_.query(selectOwn, {user}));
}

const OwnerRow& Buckets::ownerOf(const BucketRow& bucket) {
    if (const auto known = owners_.find(bucket.owner); known != owners_.end()) {
        return known->second;
    }
    const auto row = connection_.query(selectOwner, {bucket.owner});
    if (!row->next()) {
        throwDamaged("the owner of a bucket is missing");
    }
    return owners_[bucket.owner] = {row->integer(0), row->integer(1) > 1};
}

void Buckets::prime(std::int64_t id, std::int64_t owner) {
    if (!held_.contains(id)) {
        connection_.prime(selectById, {id});
    }
    if (mustHold_ && !owners_.contains(owner)) {
        connection_.prime(selectOwner, {owner});
    }
}

void Buckets::need(const std::vector<std::int64_t>& ids) {
    LocksNeeded missing;
    for (const std::int64_t id : ids) {
        try {
            find(id);
        } catch (const LocksNeeded&) {
            missing.buckets.push_back(id);
        }
    }
    if (!missing.buckets.empty()) {
        throw missing;
    }
}

void Buckets::count(std::int64_t id, const BucketStep& step) {
    const auto held = held_.find(id);
    if (held == held_.end() || !held->second.row) {
        throwDamaged("a bucket is missing");
    }
    BucketRow& row = *held->second.row;
    row.used += step.bytes;
    row.seq += step.changes;
    row.structure += step.structure;
    held->second.counted = true;
    ++counted_;
}

void Buckets::hold(std::int64_t id, std::optional<BucketRow> row) {
    held_[id] = {std::move(row), false};
    owners_.clear();
}

void Buckets::write() {
    for (auto& [id, held] : held_) {
        if (std::exchange(held.counted, false)) {
            connection_.post("update buckets set seq = $2, used = $3, structure = $4 where id = $1",
                             {id, held.row->seq, held.row->used, held.row->structure});
            --counted_;  // The connection counts the statement.
        }
    }
}

void Buckets::release() {
    write();
    for (auto& [id, held] : held_) {
        held.row.reset();
    }
    owners_.clear();
}

void Buckets::begin(bool mustHold) {
    mustHold_ = mustHold;
    held_.clear();
    saved_.clear();
    owners_.clear();
}

}  // namespace storage::kvxstore::database
