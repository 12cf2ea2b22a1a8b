#pragma once

#include "core/Context.h"

namespace storage::kvxstore {

/// The user of the caller's session. Refused with UNAUTHORIZED without a session id, with
/// INVALID_SESSION_ID for an unknown one and with SESSION_EXPIRED for an expired one.
std::int64_t requireUser(const Context& context);

}  // namespace storage::kvxstore
