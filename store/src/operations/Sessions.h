#pragma once

#include "operations/Context.h"
#include "storage/kvxclient/SessionRecords.h"
#include "storage/kvxtransport/Operations.h"

namespace storage::kvxstore::operations {

/// Answers from within a transaction, and so proves that the database can be read.
kvxclient::PingResponse ping(const Context& context, const kvxtransport::PingRequest& request);
kvxclient::LoginResponse login(const Context& context, const kvxclient::LoginRequest& request);
kvxclient::LogoutResponse logout(const Context& context, const kvxclient::LogoutRequest& request);

/// The user whose session it is; refuses when there is no valid one.
std::int64_t requireUser(const Context& context);

}  // namespace storage::kvxstore::operations
