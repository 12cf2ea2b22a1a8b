#pragma once

#include "core/Context.h"
#include "storage/kvxtransport/Operations.h"

namespace storage::kvxstore::operations {

using kvxtransport::PingRequest;

// The operations of the services: for each row of the table a function of the context and the
// request, in one transaction. It knows no threads, and a refusal is an exception. run() is the
// function of the operation whose type is given.
// REQUIRES: the connection is in a transaction, for writing where the operation changes something.
#define KVXSTORE_FUNCTION(Service, operation, Type, Request, Response, ...)     \
    Response operation(const Context& context, const Request& request);         \
    inline Response run(kvxtransport::operations::Type, const Context& context, \
                        const Request& request) {                               \
        return operation(context, request);                                     \
    }
KVXTRANSPORT_OPERATIONS(KVXSTORE_FUNCTION)
#undef KVXSTORE_FUNCTION

}  // namespace storage::kvxstore::operations
