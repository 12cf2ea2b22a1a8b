#pragma once

/// @file
/// The codes of the interface as statuses of HTTP.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxremote {

/// The status that tools and proxies see for a code; 422 for values that are no code.
unsigned statusOf(kvxclient::KVXClientErrorCode code);

/// The body of a failed answer: {"error":"CONFLICT"}, never more than the code's word.
std::string errorBody(kvxclient::KVXClientErrorCode code);

/// The code in a KVX-Error header; nothing if it is no number of 32 bits.
std::optional<kvxclient::KVXClientErrorCode> parseError(std::string_view header);

}  // namespace storage::kvxremote
