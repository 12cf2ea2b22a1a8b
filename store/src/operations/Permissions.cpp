#include "operations/Operations.h"

#include "core/Text.h"
#include "namespace/Grants.h"
#include "namespace/ResolvedPath.h"

namespace storage::kvxstore::operations {

/// Gives a subject its one permission on a node. Granting again changes the right.
PermissionGrantResponse grantPermission(const Context& context,
                                        const PermissionGrantRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& node = path.node(Right::OWN);
    requireBetween(request.getOperation(), Operation::READ, Operation::READ_WRITE);
    const std::u16string subject = request.getSubject().getSubjectName();
    Grant grant;
    grant.node = node.id;
    grant.name = toUtf8(subject);
    grant.right = request.getOperation() == Operation::READ ? Right::READ : Right::WRITE;
    if (!isName(subject)) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    lockDirectory(context, database::RowLock::SHARE);
    grant.grantee = lockUser(context, grant.name).value_or(0);
    if (grant.grantee == 0 && !request.getAllowNonExistingUser()) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    return PermissionGrantResponse().withPermissionId(
        std::to_string(addGrant(context, node, grant)));
}

PermissionRevokeResponse revokePermission(const Context& context,
                                          const PermissionRevokeRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& node = path.node(Right::OWN);
    if (!isNumber(request.getPermissionId()) ||
        context.database.execute(
            "delete from grants where node = $1 and cast(id as text) = $2 and invitation = ''",
            {node.id, request.getPermissionId()}) == 0) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    noteSharing(context, node);
    return {};
}

/// Lists the permissions on the node itself. The operation is "READ" or "READ_WRITE". The status is
/// "PENDING" while there is no user of that name, and then "ACTIVE".
PermissionListResponse listPermissions(const Context& context,
                                       const PermissionListRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const auto rows = context.database.query(
        "select id, name, level, grantee from grants where node = $1 and invitation = ''"
        " order by id",
        {path.node(Right::OWN).id});
    return PermissionListResponse().withPermissions(collect(rows, [&](const auto& row) {
        return Permission()
            .withPermissionId(std::to_string(row.integer(0)))
            .withSubject(toUtf16(row.bytes(1)))
            .withResource(path.resource())
            .withOperation(Right(row.integer(2)) == Right::WRITE ? "READ_WRITE" : "READ")
            .withStatus(row.integer(3) == 0 ? "PENDING" : "ACTIVE");
    }));
}

}  // namespace storage::kvxstore::operations
