#include "ui/Text.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "storage/kvxclient/Resource.h"

namespace storage::kvxtool {
namespace {

bool isTricky(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x200E ||
           character == 0x200F || (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

std::string format(const char* pattern, const std::tm& time) {
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), pattern, &time)};
}

std::tm localTime(std::chrono::system_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const std::time_t value = seconds.time_since_epoch().count();
    std::tm result{};
    localtime_r(&value, &result);
    return result;
}

/// The part of a second, to the nanosecond.
std::string fraction(std::chrono::system_clock::time_point time) {
    const auto part = time - std::chrono::floor<std::chrono::seconds>(time);
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), ".%09lld",
                  static_cast<long long>(std::chrono::nanoseconds(part).count()));
    return text.data();
}

}  // namespace

std::optional<char32_t> takeCharacter(std::string_view& text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    constexpr std::array<char32_t, 5> SMALLEST{0, 0, 0x80, 0x800, 0x10000};
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4 || text.size() < length) {
        return std::nullopt;
    }
    char32_t character = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return std::nullopt;
        }
        character = character << 6U | (byte(i) & 0x3FU);
    }
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (character < SMALLEST[length] || character > 0x10FFFF || surrogate) {
        return std::nullopt;
    }
    text.remove_prefix(length);
    return character;
}

std::optional<std::u16string> toUtf16(std::string_view utf8) {
    std::u16string result;
    result.reserve(utf8.size());
    while (!utf8.empty()) {
        const std::optional<char32_t> character = takeCharacter(utf8);
        if (!character) {
            return std::nullopt;
        }
        if (*character < 0x10000) {
            result += static_cast<char16_t>(*character);
        } else {
            result += static_cast<char16_t>(0xD7C0U + (*character >> 10U));
            result += static_cast<char16_t>(0xDC00U + (*character & 0x3FFU));
        }
    }
    return result;
}

// The library converts buckets with the one routine that it has for all text.
std::string toUtf8(std::u16string text) {
    return kvxclient::Resource({}, std::move(text)).getUTF8Bucket();
}

std::string escaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::string_view before = text;
        const std::optional<char32_t> character = takeCharacter(text);
        if (!character) {
            text.remove_prefix(1);
        }
        const std::string_view taken = before.substr(0, before.size() - text.size());
        if (character && !isTricky(*character)) {
            result += taken;
        } else if (character == U'\n') {
            result += "\\n";
        } else if (character == U'\t') {
            result += "\\t";
        } else {
            for (const char byte : taken) {
                std::array<char, 5> hex{};
                std::snprintf(hex.data(), hex.size(), "\\x%02x", static_cast<unsigned char>(byte));
                result += hex.data();
            }
        }
    }
    return result;
}

std::string readable(std::string word) {
    for (char& c : word) {
        c = c == '_' ? '-' : c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return word;
}

std::string humanSize(unsigned long bytes) {
    constexpr std::string_view UNITS = "KMGTPE";
    if (bytes < 1024) {
        return std::to_string(bytes);
    }
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    while (size >= 999.5) {
        size /= 1024;
        ++unit;
    }
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), size < 9.95 ? "%.1f%c" : "%.0f%c", size, UNITS[unit]);
    return text.data();
}

std::string shortTime(std::chrono::system_clock::time_point time) {
    return format("%Y-%m-%d %H:%M", localTime(time));
}

std::string exactTime(std::chrono::system_clock::time_point time) {
    const std::tm local = localTime(time);
    return format("%Y-%m-%d %H:%M:%S", local) + fraction(time) + format(" %z", local);
}

std::string utcTime(std::chrono::system_clock::time_point time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const std::time_t value = seconds.time_since_epoch().count();
    std::tm utc{};
    gmtime_r(&value, &utc);
    return format("%Y-%m-%dT%H:%M:%S", utc) + (time == seconds ? "" : fraction(time)) + "Z";
}

}  // namespace storage::kvxtool
