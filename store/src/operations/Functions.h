#pragma once

#include "operations/Changes.h"
#include "operations/Files.h"
#include "operations/Folders.h"
#include "operations/Grants.h"
#include "operations/Handles.h"
#include "operations/Invitations.h"
#include "operations/InvitedFolders.h"
#include "operations/Policies.h"
#include "operations/Relocation.h"
#include "operations/Sessions.h"
#include "operations/Versions.h"
#include "storage/kvxtransport/Operations.h"

namespace storage::kvxstore::operations {

// run() for each operation of the table: the function of its name.
#define KVXSTORE_RUN(Service, operation, Type, ...)                                             \
    inline kvxtransport::operations::Type::Response run(                                        \
        kvxtransport::operations::Type, const Context& context,                                 \
        const kvxtransport::operations::Type::Request& request) {                               \
        return operation(context, request);                                                     \
    }
KVXTRANSPORT_OPERATIONS(KVXSTORE_RUN)
#undef KVXSTORE_RUN

}  // namespace storage::kvxstore::operations
