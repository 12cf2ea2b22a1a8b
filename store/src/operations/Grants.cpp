#include "operations/Grants.h"

#include "core/Text.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;
using kvxclient::Operation;

}  // namespace

std::int64_t addGrant(const Context& context, const Node& node, const Grant& grant) {
    const std::int64_t id = context.database.number(
        "insert into grants(node, grantee, name, level, invitation, seq)"
        " values($1, $2, $3, $4, $5, 0) on conflict(node, name, invitation)"
        " do update set level = excluded.level returning id",
        {grant.node, grant.grantee, grant.name, static_cast<std::int64_t>(grant.level),
         grant.invitation});
    noteSharing(context, node);
    context.database.execute(
        "update grants set seq = (select seq from nodes where id = $2) where id = $1",
        {id, node.id});
    return id;
}

void noteSharing(const Context& context, const Node& node) {
    context.database.execute("update nodes set seq = $2 where id = $1",
                             {node.id, advance(context, node.bucket, 0)});
    refreshShared(context.database, node.id);
}

void refreshShared(database::Connection& database, std::int64_t node) {
    database.execute(
        "update nodes set shared = exists(select 1 from grants where node = $1)"
        " or exists(select 1 from invitations where node = $1) where id = $1",
        {node});
}

void bindWaiting(database::Connection& database, std::int64_t user, const std::string& name,
                 const std::string& email) {
    database.execute("update grants set grantee = $1 where grantee = 0 and name = $2",
                     {user, name});
    database.execute(
        "update invitations set recipient = $1 where recipient = 0 and recipient_name <> ''"
        " and recipient_name in ($2, $3)",
        {user, name, email});
}

void dropSharing(database::Connection& database, std::int64_t user) {
    std::vector<std::int64_t> nodes;
    {
        const auto rows = database.query(
            "select node from grants where grantee = $1"
            " union select node from invitations where recipient = $1 or inviter = $1",
            {user});
        while (rows->next()) {
            nodes.push_back(rows->integer(0));
        }
    }
    database.execute(
        "delete from grants where grantee = $1"
        " or invitation in (select id from invitations where inviter = $1)",
        {user});
    database.execute("delete from invitations where recipient = $1 or inviter = $1", {user});
    for (const std::int64_t node : nodes) {
        refreshShared(database, node);
    }
}

kvxclient::PermissionGrantResponse grantPermission(
    const Context& context, const kvxclient::PermissionGrantRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& node = place.node(Right::OWN);
    requireBetween(request.getOperation(), Operation::READ, Operation::READ_WRITE);
    const std::u16string subject = request.getSubject().getSubjectName();
    Grant grant;
    grant.node = node.id;
    grant.name = toUtf8(subject);
    grant.level = request.getOperation() == Operation::READ ? Right::READ : Right::WRITE;
    const auto user = context.database.query("select id from users where name = $1", {grant.name});
    if (user->next()) {
        grant.grantee = user->integer(0);
    } else if (!request.getAllowNonExistingUser() || !isName(subject)) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    return kvxclient::PermissionGrantResponse().withPermissionId(
        std::to_string(addGrant(context, node, grant)));
}

kvxclient::PermissionRevokeResponse revokePermission(
    const Context& context, const kvxclient::PermissionRevokeRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& node = place.node(Right::OWN);
    if (context.database.execute(
            "delete from grants where node = $1 and cast(id as text) = $2 and invitation = ''",
            {node.id, request.getPermissionId()}) == 0) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    noteSharing(context, node);
    return {};
}

kvxclient::PermissionListResponse listPermissions(const Context& context,
                                                  const kvxclient::PermissionListRequest& request) {
    const Place place = locate(context, request.getResource());
    const auto rows = context.database.query(
        "select id, name, level, grantee from grants where node = $1 and invitation = ''"
        " order by id",
        {place.node(Right::OWN).id});
    std::vector<kvxclient::Permission> permissions;
    while (rows->next()) {
        const bool writes = Right(rows->integer(2)) == Right::WRITE;
        permissions.push_back(kvxclient::Permission()
                                  .withPermissionId(std::to_string(rows->integer(0)))
                                  .withSubject(toUtf16(rows->bytes(1)))
                                  .withResource(place.resource())
                                  .withOperation(writes ? "READ_WRITE" : "READ")
                                  .withStatus(rows->integer(3) == 0 ? "PENDING" : "ACTIVE"));
    }
    return kvxclient::PermissionListResponse().withPermissions(std::move(permissions));
}

}  // namespace storage::kvxstore::operations
