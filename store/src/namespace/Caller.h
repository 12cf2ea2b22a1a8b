#pragma once

#include <optional>

#include "core/Context.h"

namespace storage::kvxstore {

/// The user of the caller's session. Refused with UNAUTHORIZED without a session id, with
/// INVALID_SESSION_ID for an unknown one and with SESSION_EXPIRED for an expired one.
std::int64_t requireUser(const Context& context);

/// Asks ahead for what requireUser() reads. Returns whose session it was when it was last seen,
/// nothing for one that was not.
std::optional<std::int64_t> primeSession(const Context& context);

}  // namespace storage::kvxstore
