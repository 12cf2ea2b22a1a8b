#pragma once

#include <string>
#include <string_view>

/// What other libraries make of a UTF-16 text. Each result is left in the type that its library
/// gives, and each keeps "/" where its library can be told to.
namespace bench::peers {

std::string icuUtf8(std::u16string_view text);
std::string utfcppUtf8(std::u16string_view text);

void curlEscape(std::u16string_view text);
void glibEscape(std::u16string_view text);
void qtEscape(std::u16string_view text);
void icuStreamEscape(std::u16string_view text);

}  // namespace bench::peers
