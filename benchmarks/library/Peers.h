#pragma once

#include <string>
#include <string_view>

/// What other libraries make of a UTF-16 text, end to end. Each keeps "/" where its library can be
/// told to.
namespace bench::peers {

std::string icuUtf8(std::u16string_view text);
std::string utfcppUtf8(std::u16string_view text);

std::string curlEscape(std::u16string_view text);
std::string glibEscape(std::u16string_view text);
std::string qtEscape(std::u16string_view text);
std::string icuStreamEscape(std::u16string_view text);

}  // namespace bench::peers
