#pragma once

#include "core/Context.h"
#include "storage/kvxclient/SessionRecords.h"

namespace storage::kvxstore::operations {

kvxclient::LoginResponse login(const Context& context, const kvxclient::LoginRequest& request);
kvxclient::LogoutResponse logout(const Context& context, const kvxclient::LogoutRequest& request);

/// The user whose session it is; refuses when there is no valid one.
std::int64_t requireUser(const Context& context);

}  // namespace storage::kvxstore::operations
