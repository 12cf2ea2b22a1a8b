#include "namespace/Grants.h"

#include "namespace/Usage.h"

namespace storage::kvxstore {

namespace {

constexpr std::int64_t mostShares = 10'000;

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
    context.database.execute(
        "update grants set seq = (select seq from nodes where id = $2) where id = $1",
        {id, node.id});
    return id;
}

void noteSharing(const Context& context, const Node& node) {
    context.database.execute("update nodes set seq = $2 where id = $1",
                             {node.id, advance(context, node.bucket)});
    refreshShared(context, node.id);
}

void refreshShared(const Context& context, std::int64_t node) {
    context.database.execute(
        "update nodes set shared = exists(select 1 from grants where node = $1)"
        " or exists(select 1 from invitations where node = $1) where id = $1",
        {node});
}

void bindWaiting(const Context& context, std::int64_t user, const std::string& name,
                 const std::string& email) {
    context.database.execute("update grants set grantee = $1 where grantee = 0 and name = $2",
                             {user, name});
    context.database.execute(
        "update invitations set recipient = $1 where recipient = 0 and recipient_name <> ''"
        " and recipient_name in ($2, $3)",
        {user, name, email});
}

void dropSharing(const Context& context, std::int64_t user) {
    const auto nodes =
        collect(context.database.query(
                    "select node from grants where grantee = $1"
                    " union select node from invitations where recipient = $1 or inviter = $1",
                    {user}),
                [](const auto& row) { return row.integer(0); });
    context.database.execute(
        "delete from grants where grantee = $1"
        " or invitation in (select id from invitations where inviter = $1)",
        {user});
    context.database.execute("delete from invitations where recipient = $1 or inviter = $1",
                             {user});
    for (const std::int64_t node : nodes) {
        refreshShared(context, node);
    }
}

}  // namespace storage::kvxstore
