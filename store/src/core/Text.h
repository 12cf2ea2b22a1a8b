#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace storage::kvxstore {

/// The most UTF-16 units of a path.
constexpr std::size_t longestPath = 4096;

std::string toUtf8(const std::u16string& text);
std::u16string toUtf16(std::string_view text);

/// Whether a file, folder, user or bucket may have the name.
bool isName(std::u16string_view name);

/// Whether an invitation may be addressed to the text: a name or an e-mail address.
bool isAddress(std::u16string_view text);

/// Whether the text has the form of a secret's 64 hexadecimal digits.
bool isSecret(std::string_view text);

/// Whether the text is the number of a row as it is given out.
bool isNumber(std::string_view text);

/// Refuses with UNKNOWN what no file may have as its content type.
void requireContentType(std::string_view text);

/// The names on a path from the root down, in UTF-8; none for the root itself. A path that breaks
/// the rules is refused with ILLEGAL_PATH.
std::vector<std::string> splitPath(std::u16string_view path);

}  // namespace storage::kvxstore
