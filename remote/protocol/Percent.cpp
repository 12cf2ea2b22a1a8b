#include "protocol/Percent.h"

#include <array>

namespace storage::kvxremote {
namespace {

constexpr std::string_view kept =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

constexpr std::array<bool, 256> makeIsKept() {
    std::array<bool, 256> isKept{};
    for (const char c : kept) {
        isKept[static_cast<unsigned char>(c)] = true;
    }
    return isKept;
}
constexpr std::array<bool, 256> isKeptByte = makeIsKept();

// The value of a hex digit, 16 of anything else.
unsigned hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned>(c - '0');
    }
    const char small = static_cast<char>(c | 0x20);
    return small >= 'a' && small <= 'f' ? static_cast<unsigned>(small - 'a' + 10) : 16;
}

}  // namespace

std::string percentEncode(std::string_view text) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (isKeptByte[byte]) {
            encoded += c;
        } else {
            encoded += '%';
            encoded += digits[byte >> 4];
            encoded += digits[byte & 15];
        }
    }
    return encoded;
}

std::optional<std::string> percentDecode(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        if (text.size() - at < 3) {
            return std::nullopt;
        }
        const unsigned high = hexValue(text[at + 1]);
        const unsigned low = hexValue(text[at + 2]);
        if (high > 15 || low > 15) {
            return std::nullopt;
        }
        decoded += static_cast<char>(high << 4 | low);
        at += 2;
    }
    return decoded;
}

}  // namespace storage::kvxremote
