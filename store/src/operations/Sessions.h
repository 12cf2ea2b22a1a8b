#pragma once

#include "core/Context.h"
#include "storage/kvxclient/SessionRecords.h"

namespace storage::kvxstore::operations {

kvxclient::LoginResponse login(const Context& context, const kvxclient::LoginRequest& request);
kvxclient::LogoutResponse logout(const Context& context, const kvxclient::LogoutRequest& request);

}  // namespace storage::kvxstore::operations
