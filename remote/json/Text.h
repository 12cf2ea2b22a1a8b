#pragma once

/// @file
/// Texts as JSON, in UTF-16 and in base64.

#include <optional>
#include <string>
#include <string_view>

namespace storage::kvxremote::json {

/// Appends an 8-bit text: a string if it is UTF-8, else {"base64":"..."}.
void write(std::string& out, std::string_view text);

/// Appends a UTF-16 text: a string, or an array of numbers if a surrogate has no partner.
void write(std::string& out, std::u16string_view text);

/// Converts UTF-8; nothing if it is not valid. Surrogates are not.
std::optional<std::u16string> toUtf16(std::string_view text);

/// Decodes base64 with its padding; nothing if it is not valid.
std::optional<std::string> decodeBase64(std::string_view text);

}  // namespace storage::kvxremote::json
