#include "json/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace storage::kvxremote::json {
namespace {

constexpr char hexDigits[] = "0123456789abcdef";
constexpr std::string_view base64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// For each ASCII character: 0 if it stands for itself, else what follows the backslash.
constexpr std::array<char, 128> makeEscapes() {
    std::array<char, 128> escapes{};
    for (std::size_t c = 0; c < 0x20; ++c) {
        escapes[c] = 'u';
    }
    escapes['\b'] = 'b';
    escapes['\t'] = 't';
    escapes['\n'] = 'n';
    escapes['\f'] = 'f';
    escapes['\r'] = 'r';
    escapes['"'] = '"';
    escapes['\\'] = '\\';
    return escapes;
}
constexpr std::array<char, 128> escapesInJson = makeEscapes();

// Gathers characters before they are appended.
class Output {
public:
    explicit Output(std::string& out) : out_(out) { out_ += '"'; }
    void finish() {
        flush();
        out_ += '"';
    }
    void ascii(unsigned c) {
        makeRoom();
        if (const char escape = escapesInJson[c]; escape == 0) {
            put(c);
        } else {
            put('\\');
            put(static_cast<unsigned char>(escape));
            if (escape == 'u') {
                put('0');
                put('0');
                put(static_cast<unsigned char>(hexDigits[c >> 4]));
                put(static_cast<unsigned char>(hexDigits[c & 15]));
            }
        }
    }
    void point(unsigned point) {
        if (point < 0x80) {
            ascii(point);
            return;
        }
        makeRoom();
        if (point < 0x800) {
            put(0xC0 | point >> 6);
        } else {
            if (point < 0x10000) {
                put(0xE0 | point >> 12);
            } else {
                put(0xF0 | point >> 18);
                put(0x80 | (point >> 12 & 0x3F));
            }
            put(0x80 | (point >> 6 & 0x3F));
        }
        put(0x80 | (point & 0x3F));
    }
    void byte(unsigned char c) {
        makeRoom();
        put(c);
    }

private:
    void put(unsigned c) { buffer_[used_++] = static_cast<char>(c); }
    void makeRoom() {
        if (used_ > sizeof(buffer_) - 8) {
            flush();
        }
    }
    void flush() {
        out_.append(buffer_, used_);
        used_ = 0;
    }

    std::string& out_;
    std::size_t used_ = 0;
    char buffer_[256];
};

bool standsForItself(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && escapesInJson[byte] == 0;
}

bool isSurrogateUnit(unsigned unit) { return (unit & 0xF800) == 0xD800; }

// Reads one point of UTF-8 and moves on; nothing, with `at` unchanged, where the text is not valid.
std::optional<unsigned> nextPoint(std::string_view text, std::size_t& at) {
    const auto byteAt = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    const unsigned first = byteAt(at);
    const std::size_t size = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if ((first >= 0x80 && first < 0xC2) || first > 0xF4) {
        return std::nullopt;
    }
    unsigned point = size == 1 ? first : first & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        const unsigned next = byteAt(at + i);
        if ((next & 0xC0) != 0x80) {
            return std::nullopt;
        }
        point = point << 6 | (next & 0x3F);
    }
    constexpr unsigned least[] = {0, 0, 0x80, 0x800, 0x10000};
    if (point < least[size] || point > 0x10FFFF || isSurrogateUnit(point)) {
        return std::nullopt;
    }
    at += size;
    return point;
}

bool isUtf8(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        if (!nextPoint(text, at)) {
            return false;
        }
    }
    return true;
}

void writeBase64(std::string& out, std::string_view text) {
    out += R"({"base64":")";
    for (std::size_t at = 0; at < text.size(); at += 3) {
        const std::size_t size = std::min<std::size_t>(3, text.size() - at);
        unsigned bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8 | (i < size ? static_cast<unsigned char>(text[at + i]) : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            out += i <= size ? base64Digits[bits >> (18 - 6 * i) & 0x3F] : '=';
        }
    }
    out += "\"}";
}

void writeUnits(std::string& out, std::u16string_view text) {
    char separator = '[';
    for (const char16_t unit : text) {
        out += separator;
        out += std::to_string(static_cast<unsigned>(unit));
        separator = ',';
    }
    out += ']';
}

}  // namespace

void write(std::string& out, std::string_view text) {
    if (std::all_of(text.begin(), text.end(), standsForItself)) {
        out += '"';
        out += text;
        out += '"';
        return;
    }
    if (!isUtf8(text)) {
        writeBase64(out, text);
        return;
    }
    Output output(out);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            output.ascii(byte);
        } else {
            output.byte(byte);
        }
    }
    output.finish();
}

void write(std::string& out, std::u16string_view text) {
    const std::size_t start = out.size();
    Output output(out);
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned unit = text[at];
        if (isSurrogateUnit(unit)) {
            const unsigned next = at + 1 < text.size() ? text[at + 1] : 0;
            if (unit >= 0xDC00 || (next & 0xFC00) != 0xDC00) {
                out.resize(start);
                writeUnits(out, text);
                return;
            }
            unit = 0x10000 + ((unit & 0x3FF) << 10 | (next & 0x3FF));
            ++at;
        }
        output.point(unit);
    }
    output.finish();
}

std::optional<std::u16string> toUtf16(std::string_view text) {
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    if (std::all_of(text.begin(), text.end(), isAscii)) {
        return std::u16string(text.begin(), text.end());
    }
    std::u16string units;
    units.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const auto point = nextPoint(text, at);
        if (!point) {
            return std::nullopt;
        }
        if (*point < 0x10000) {
            units += static_cast<char16_t>(*point);
        } else {
            units += static_cast<char16_t>(0xD800 + ((*point - 0x10000) >> 10));
            units += static_cast<char16_t>(0xDC00 + (*point & 0x3FF));
        }
    }
    return units;
}

std::optional<std::string> decodeBase64(std::string_view text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') {
        ++padding;
    }
    unsigned bits = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t digit =
            at < text.size() - padding ? base64Digits.find(text[at]) : std::size_t(0);
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        bits = bits << 6 | static_cast<unsigned>(digit);
        if (at % 4 == 3) {
            bytes += static_cast<char>(bits >> 16 & 0xFF);
            bytes += static_cast<char>(bits >> 8 & 0xFF);
            bytes += static_cast<char>(bits & 0xFF);
        }
    }
    bytes.resize(bytes.size() - padding);
    return bytes;
}

}  // namespace storage::kvxremote::json
