#pragma once

#include "core/Context.h"
#include "storage/kvxclient/InvitationFolderContent.h"
#include "storage/kvxclient/Invitations.h"

namespace storage::kvxstore::operations {

// What an invitation lets its readers do with the folder before they accept it. The resource may
// name a folder below the one offered; an empty one means that itself.

kvxclient::InvitationFolderContentResponse getFolderContentFromInvitation(
    const Context& context, const kvxclient::InvitationFolderContentRequest& request);
kvxclient::InvitationCopyFolderResponse copyFolderFromInvitation(
    const Context& context, const kvxclient::InvitationCopyFolderRequest& request);

}  // namespace storage::kvxstore::operations
