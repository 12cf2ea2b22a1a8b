#include "namespace/Grants.h"

#include "namespace/Usage.h"

namespace storage::kvxstore {

namespace {

using database::FreeText;

constexpr std::int64_t mostShares = 10'000;

/// Counts a change of rights in the buckets of these nodes.
void countStructure(const Context& context, const std::vector<std::int64_t>& nodes) {
    for (const std::int64_t id : nodes) {
        const std::optional<Node> node = findNode(context, id);
        if (node && context.database.buckets().find(node->bucket) != nullptr) {
            context.database.buckets().count(node->bucket, {0, 0, 1});
        }
    }
}

}  // namespace

void limitSharing(const Context& context, std::int64_t node) {
    if (context.database.number("select (select count(*) from grants where node = $1)"
                                " + (select count(*) from invitations where node = $1)",
                                {node}) > mostShares) {
        refuse(ErrorCode::QUOTA_EXCEEDED);
    }
}

std::int64_t addGrant(const Context& context, const Node& node, const Grant& grant) {
    const std::int64_t id = context.database.number(
        "insert into grants(node, grantee, name, level, invitation, seq)"
        " values($1, $2, $3, $4, $5, 0) on conflict(node, name, invitation)"
        " do update set level = excluded.level returning id",
        {grant.node, grant.grantee, grant.name, static_cast<std::int64_t>(grant.right),
         grant.invitation});
    limitSharing(context, node.id);
    noteSharing(context, node);
    context.database.post(
        "update grants set seq = (select seq from nodes where id = $2) where id = $1",
        {id, node.id});
    return id;
}

void noteSharing(const Context& context, const Node& node) {
    context.database.post("update nodes set seq = $2 where id = $1",
                          {node.id, advance(context, node.bucket)});
    refreshShared(context, node.id);
}

void refreshShared(const Context& context, std::int64_t node) {
    context.database.post(
        "update nodes set shared = case when exists(select 1 from grants where node = $1)"
        " or exists(select 1 from invitations where node = $1) then 1 else 0 end where id = $1",
        {node});
}

void lockDirectory(const Context& context, database::RowLock how) {
    context.database.lock(how, "select name from locks where name = 'directory'", {})->next();
}

std::optional<std::int64_t> lockUser(const Context& context, const std::string& name) {
    const auto row = context.database.lock(database::RowLock::KEEP,
                                           "select id from users where name = $1", {name});
    return row->next() ? std::optional(row->integer(0)) : std::nullopt;
}

void holdWaiting(const Context& context, const std::string& name, const std::string& email) {
    context.database.buckets().need(
        collect(context.database.query(
                    "select n.bucket from grants g join nodes n on n.id = g.node"
                    " where g.grantee = 0 and g.name = $1"
                    " union select n.bucket from invitations i join nodes n on n.id = i.node"
                    " where i.recipient = 0 and i.recipient_name in ($2, $3)",
                    {name, FreeText{name}, FreeText{email}}),
                [](const auto& row) { return row.integer(0); }));
}

void bindWaiting(const Context& context, std::int64_t user, const std::string& name,
                 const std::string& email) {
    const auto nodes =
        collect(context.database.query("select node from grants where grantee = 0 and name = $1"
                                       " union select node from invitations where recipient = 0"
                                       " and recipient_name <> $4 and recipient_name in ($2, $3)",
                                       {name, FreeText{name}, FreeText{email}, FreeText{{}}}),
                [](const auto& row) { return row.integer(0); });
    context.database.post("update grants set grantee = $1 where grantee = 0 and name = $2",
                          {user, name});
    context.database.post(
        "update invitations set recipient = $1 where recipient = 0 and recipient_name <> $4"
        " and recipient_name in ($2, $3)",
        {user, FreeText{name}, FreeText{email}, FreeText{{}}});
    countStructure(context, nodes);
}

void holdSharing(const Context& context, std::int64_t user) {
    context.database.buckets().need(
        collect(context.database.query(
                    "select n.bucket from grants g join nodes n on n.id = g.node"
                    " where g.grantee = $1 union select n.bucket from invitations i"
                    " join nodes n on n.id = i.node where i.recipient = $1 or i.inviter = $1",
                    {user}),
                [](const auto& row) { return row.integer(0); }));
}

void dropSharing(const Context& context, std::int64_t user) {
    const auto nodes =
        collect(context.database.query(
                    "select node from grants where grantee = $1"
                    " union select node from invitations where recipient = $1 or inviter = $1",
                    {user}),
                [](const auto& row) { return row.integer(0); });
    context.database.post(
        "delete from grants where grantee = $1"
        " or invitation in (select id from invitations where inviter = $1)",
        {user});
    context.database.post("delete from invitations where recipient = $1 or inviter = $1", {user});
    for (const std::int64_t node : nodes) {
        refreshShared(context, node);
    }
    countStructure(context, nodes);
}

}  // namespace storage::kvxstore
