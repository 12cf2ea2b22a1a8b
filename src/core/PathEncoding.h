#pragma once

#include <string>
#include <string_view>

namespace storage::kvxclient::detail {

/// Converts UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD.
std::string toUtf8(std::u16string_view text);

/// Converts UTF-16 to UTF-8 and writes every byte but ASCII letters, digits, "." and "/" as "%XX".
std::string percentEncode(std::u16string_view text);

}  // namespace storage::kvxclient::detail
