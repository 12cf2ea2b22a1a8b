#include "operations/Administration.h"

#include <algorithm>
#include <limits>

#include "core/Secrets.h"
#include "core/Text.h"
#include "namespace/Deletion.h"
#include "namespace/Grants.h"
#include "storage/kvxstore/StoreError.h"

namespace storage::kvxstore::operations {

namespace {

using database::FreeText;
using database::RowLock;

std::string checkedName(const std::u16string& name) {
    if (!isName(name)) {
        throw StoreError(StoreErrorCode::ILLEGAL_NAME,
                         "not a name for a user or bucket: \"" + toUtf8(name) + '"');
    }
    return toUtf8(name);
}

std::int64_t findUser(const Context& context, const std::u16string& name) {
    const std::string text = toUtf8(name);
    if (isName(name)) {
        const auto row = context.database.query("select id from users where name = $1", {text});
        if (row->next()) {
            return row->integer(0);
        }
    }
    throw StoreError(StoreErrorCode::NOT_FOUND, "there is no user \"" + text + '"');
}

std::string makeToken(const Context& context, std::int64_t user) {
    std::string token = newSecret();
    const std::string hash = hashOf(token);
    context.database.execute("insert into tokens(hash, owner) values($1, $2)",
                             {database::Blob{hash}, user});
    return token;
}

void endLogins(const Context& context, std::int64_t user) {
    context.database.execute("delete from tokens where owner = $1", {user});
    context.database.execute("delete from sessions where owner = $1", {user});
}

std::int64_t asStored(unsigned long quota) {
    return static_cast<std::int64_t>(std::min(quota, NewUser::UNLIMITED));
}

void insertBucket(const Context& context, const std::string& name, std::int64_t owner) {
    if (context.database.query("select 1 from buckets where name = $1", {name})->next()) {
        throw StoreError(StoreErrorCode::ALREADY_EXISTS,
                         "there is a bucket \"" + name + "\" already");
    }
    const std::int64_t bucket =
        context.database.insert("buckets", "name, owner, root, seq, used", {name, owner, 0, 0, 0});
    const std::int64_t root = context.database.insert(
        "nodes", "bucket, parent, name, kind, seq, size, label, created, modified, client_modified",
        {bucket, rootParent, name, 0, 0, 0, 0, context.now(), context.now(), 0});
    context.database.post("update buckets set root = $2 where id = $1", {bucket, root});
    context.database.buckets().hold(bucket, BucketRow{bucket, name, root, owner});
}

/// `units` of 4 GiB and the rest, or the largest number where the sum is larger.
unsigned long joined(unsigned long units, unsigned long rest) {
    constexpr unsigned long unit = 1UL << 32U;
    units += rest / unit;
    return units < unit ? units * unit + rest % unit : std::numeric_limits<unsigned long>::max();
}

}  // namespace

std::string createUser(const Context& context, const NewUser& user) {
    const std::string name = checkedName(user.name);
    const std::string email = toUtf8(user.emailAddress);
    holdWaiting(context, name, email);
    lockDirectory(context, RowLock::CHANGE);
    holdWaiting(context, name, email);
    if (context.database.query("select 1 from users where name = $1", {name})->next()) {
        throw StoreError(StoreErrorCode::ALREADY_EXISTS,
                         "there is a user \"" + name + "\" already");
    }
    const std::string firstName = toUtf8(user.firstName);
    const std::string lastName = toUtf8(user.lastName);
    const std::int64_t id = context.database.insert(
        "users", "name, email, first_name, last_name, quota",
        {name, FreeText{email}, FreeText{firstName}, FreeText{lastName}, asStored(user.quota)});
    insertBucket(context, name, id);
    bindWaiting(context, id, name, email);
    return makeToken(context, id);
}

std::vector<User> listUsers(const Context& context) {
    const auto rows = context.database.query(
        "select u.name, u.email, u.first_name, u.last_name, u.quota,"
        " coalesce(cast(sum(b.used) as bigint), 0) from users u"
        " left join buckets b on b.owner = u.id group by u.id order by u.name");
    return collect(rows, [](const auto& row) {
        return User{{toUtf16(row.bytes(0)), toUtf16(row.bytes(1)), toUtf16(row.bytes(2)),
                     toUtf16(row.bytes(3)), static_cast<unsigned long>(row.integer(4))},
                    static_cast<unsigned long>(row.integer(5))};
    });
}

std::string renewToken(const Context& context, const std::u16string& user) {
    const std::int64_t id = findUser(context, user);
    endLogins(context, id);
    return makeToken(context, id);
}

void setQuota(const Context& context, const std::u16string& user, unsigned long quota) {
    const std::int64_t id = findUser(context, user);
    context.database.buckets().need(bucketsOf(context.database, id));
    context.database.execute("update users set quota = $2 where id = $1", {id, asStored(quota)});
    context.database.buckets().forgetOwners();
}

void removeUser(const Context& context, const std::u16string& name) {
    const std::int64_t user = findUser(context, name);
    const auto hold = [&] {
        context.database.buckets().need(bucketsOf(context.database, user));
        holdSharing(context, user);
    };
    hold();
    lockDirectory(context, RowLock::CHANGE);
    hold();
    dropSharing(context, user);
    endLogins(context, user);
    context.database.buckets().release();
    context.database.execute(
        "update nodes set parent = -bucket, name = cast(id as text)"
        " where id in (select root from buckets where owner = $1)",
        {user});
    context.database.execute("delete from buckets where owner = $1", {user});
    context.database.execute("delete from users where id = $1", {user});
}

void createBucket(const Context& context, const std::u16string& name, const std::u16string& owner) {
    const std::string checked = checkedName(name);
    // Who writes to the only bucket of its owner does not look for others.
    context.database.buckets().need(bucketsOf(context.database, findUser(context, owner)));
    lockDirectory(context, RowLock::CHANGE);
    insertBucket(context, checked, findUser(context, owner));
}

std::vector<Bucket> listBuckets(const Context& context) {
    const auto rows = context.database.query(
        "select b.name, u.name, b.used from buckets b join users u on u.id = b.owner"
        " order by b.name");
    return collect(rows, [](const auto& row) {
        return Bucket{toUtf16(row.bytes(0)), toUtf16(row.bytes(1)),
                      static_cast<unsigned long>(row.integer(2))};
    });
}

Statistics countAll(const Context& context) {
    const auto row = context.database.query(
        "select (select count(*) from users), (select count(*) from buckets),"
        " (select count(*) from nodes where kind = 0 and parent > 0),"
        " (select count(*) from nodes where kind = 1 and parent > 0),"
        " (select count(*) from versions), (select count(*) from handles),"
        " (select count(*) from grants), (select count(*) from invitations),"
        " (select coalesce(cast(sum(length(data)) as bigint), 0) from chunks),"
        // A sum in two parts, since that of several users may be too large for the database.
        " (select coalesce(cast(sum(used / 4294967296) as bigint), 0) from buckets),"
        " (select coalesce(cast(sum(used % 4294967296) as bigint), 0) from buckets)");
    row->next();
    const auto count = [&row](int column) {
        return static_cast<unsigned long>(row->integer(column));
    };
    Statistics all{count(0), count(1), count(2),
                   count(3), count(4), count(5),
                   count(6), count(7), joined(count(9), count(10)),
                   count(8)};
    if (const database::Traffic* const traffic = context.database.traffic()) {
        all.roundTrips = traffic->roundTrips;
        all.repeats = traffic->repeats;
        all.settled = traffic->settled;
    }
    return all;
}

void forgetIdentity(const Context& context) {
    context.database.execute("update identity set id = ''");
}

}  // namespace storage::kvxstore::operations
