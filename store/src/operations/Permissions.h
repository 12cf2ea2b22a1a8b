#pragma once

#include "core/Context.h"
#include "storage/kvxclient/Permissions.h"

namespace storage::kvxstore::operations {

/// One permission for a subject on a node: granting again changes its level.
kvxclient::PermissionGrantResponse grantPermission(
    const Context& context, const kvxclient::PermissionGrantRequest& request);
kvxclient::PermissionRevokeResponse revokePermission(
    const Context& context, const kvxclient::PermissionRevokeRequest& request);

/// Lists what was granted on the node itself, with no invitation. The operation is "READ" or
/// "READ_WRITE", the status "ACTIVE", or "PENDING" while there is no user of that name.
kvxclient::PermissionListResponse listPermissions(const Context& context,
                                                  const kvxclient::PermissionListRequest& request);

}  // namespace storage::kvxstore::operations
