#include "database/BucketPlan.h"

#include <string_view>

#include "database/Connection.h"

namespace storage::kvxstore::database {

namespace {

constexpr std::string_view byName = "select id from buckets where name = $1";
constexpr std::string_view bySession =
    "select b.id from sessions s join users u on u.id = s.owner"
    " join buckets b on b.owner = u.id and b.name = u.name where s.hash = $1";
// A commit may write to a file that was moved to another bucket, or into a folder that was.
constexpr std::string_view byHandle =
    "select bucket from handles where hash = $1"
    " union select n.bucket from handles h join nodes n on n.id = h.node where h.hash = $1"
    " union select n.bucket from handles h join nodes n on n.id = h.parent where h.hash = $1"
    " union select c.bucket from handles h join charges c on c.content = h.base where h.hash = $1";
constexpr std::string_view byInvitation =
    "select n.bucket from invitations i join nodes n on n.id = i.node where i.id = $1";

}  // namespace

std::set<std::int64_t> BucketPlan::find(Connection& connection) const {
    const auto forEach = [this](const auto& visit) {
        for (const std::string& name : named_) {
            visit(byName, Value(name));
        }
        for (const std::string& hash : sessions_) {
            visit(bySession, Value(Blob{hash}));
        }
        for (const std::string& hash : handles_) {
            visit(byHandle, Value(Blob{hash}));
        }
        for (const std::string& id : invitations_) {
            visit(byInvitation, Value(id));
        }
    };
    std::set<std::int64_t> buckets;
    forEach([&](std::string_view sql, const Value& value) { connection.prime(sql, {value}); });
    forEach([&](std::string_view sql, const Value& value) {
        const Rows rows = connection.query(sql, {value});
        while (rows->next()) {
            buckets.insert(rows->integer(0));
        }
    });
    return buckets;
}

}  // namespace storage::kvxstore::database
