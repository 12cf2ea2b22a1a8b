#pragma once

/// @file
/// Percent-encoding of 8-bit texts.

#include <optional>
#include <string>
#include <string_view>

namespace storage::kvxremote {

/// Encodes every byte but letters, digits and -._~ as %XX, with capital digits.
std::string percentEncode(std::string_view text);

/// The opposite; nothing if a % is not followed by two hex digits.
std::optional<std::string> percentDecode(std::string_view text);

}  // namespace storage::kvxremote
