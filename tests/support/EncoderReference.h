#pragma once

#include <unicode/ustring.h>

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

/// What the encoder must give: ICU's conversion, with U+FFFD for an unpaired surrogate.
inline std::string referenceUtf8(std::u16string_view text) {
    std::string result(text.size() * 3, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(result.data(), static_cast<int32_t>(result.size()), &length, text.data(),
                       static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

/// And an escape that follows the rule word by word.
inline std::string referenceEscape(const std::string& utf8) {
    std::string result;
    for (const char byte : utf8) {
        const std::string_view kept =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789./";
        if (kept.find(byte) != kept.npos) {
            result += byte;
        } else {
            std::array<char, 4> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "%%%02X",
                          static_cast<unsigned>(static_cast<unsigned char>(byte)));
            result += escaped.data();
        }
    }
    return result;
}
