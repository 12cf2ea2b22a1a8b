#include "operations/Permissions.h"

#include "core/Text.h"
#include "namespace/Grants.h"
#include "namespace/Places.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;
using kvxclient::Operation;

}  // namespace

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
