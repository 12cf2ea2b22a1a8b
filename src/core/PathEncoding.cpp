#include "core/PathEncoding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "core/AsciiBlock.h"

namespace storage::kvxclient::detail {
namespace {

constexpr bool isKept(unsigned byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z') || byte == '.' || byte == '/';
}

struct Escape {
    char text[3];
    std::uint8_t size;
};

constexpr std::array<Escape, 256> makeEscapes() {
    constexpr char digits[] = "0123456789ABCDEF";
    std::array<Escape, 256> escapes{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        escapes[byte] = isKept(byte) ? Escape{{static_cast<char>(byte), 0, 0}, 1}
                                     : Escape{{'%', digits[byte >> 4], digits[byte & 15]}, 3};
    }
    return escapes;
}

constexpr std::array<Escape, 256> escapes = makeEscapes();

struct PlainBytes {
    static constexpr std::size_t longest = 1;
    static std::size_t size(unsigned) { return 1; }
    static std::size_t size(const AsciiBlock&) { return blockUnits; }
    static char* write(char* out, const AsciiBlock& block) { return writePlain(block, out); }
    static char* write(char* out, unsigned byte) {
        *out = static_cast<char>(byte);
        return out + 1;
    }
    static char* writeHigh(char* out, unsigned byte) { return write(out, byte); }
};

struct EscapedBytes {
    static constexpr std::size_t longest = 3;
    static std::size_t size(unsigned byte) { return escapes[byte].size; }
    static std::size_t size(const AsciiBlock& block) {
        return blockUnits + 2 * static_cast<std::size_t>(__builtin_popcount(escapeBits(block)));
    }
    static char* write(char* out, const AsciiBlock& block) {
        return writeEscaped(block, escapeBits(block), out);
    }
    // Always copies the whole entry: cheaper than asking how much of it is needed.
    static char* write(char* out, unsigned byte) {
        std::memcpy(out, &escapes[byte], sizeof(Escape));
        return out + escapes[byte].size;
    }
    // For bytes of 0x80 and above, whose size need not be looked up.
    static char* writeHigh(char* out, unsigned byte) {
        std::memcpy(out, &escapes[byte], sizeof(Escape));
        return out + 3;
    }
};

bool isSurrogate(char32_t unit) { return (unit & 0xF800) == 0xD800; }

// Reads the code point at `at` and moves `at` behind it.
char32_t nextCodePoint(const char16_t*& at, const char16_t* end) {
    const char32_t unit = *at++;
    if (!isSurrogate(unit)) {
        return unit;
    }
    if (unit < 0xDC00 && at != end && (*at & 0xFC00) == 0xDC00) {
        return 0x10000 + ((unit - 0xD800) << 10) + (*at++ - 0xDC00u);
    }
    return 0xFFFD;
}

template <class Bytes>
char* writeCodePoint(char* out, char32_t point) {
    if (point < 0x80) {
        return Bytes::write(out, point);
    }
    if (point < 0x800) {
        out = Bytes::writeHigh(out, 0xC0 | (point >> 6));
        return Bytes::writeHigh(out, 0x80 | (point & 0x3F));
    }
    if (point < 0x10000) {
        out = Bytes::writeHigh(out, 0xE0 | (point >> 12));
    } else {
        out = Bytes::writeHigh(out, 0xF0 | (point >> 18));
        out = Bytes::writeHigh(out, 0x80 | ((point >> 12) & 0x3F));
    }
    out = Bytes::writeHigh(out, 0x80 | ((point >> 6) & 0x3F));
    return Bytes::writeHigh(out, 0x80 | (point & 0x3F));
}

template <class Bytes>
std::size_t encodedSize(const char16_t* at, const char16_t* end) {
    std::size_t size = 0;
    while (at != end) {
        if (static_cast<std::size_t>(end - at) >= blockUnits) {
            if (const AsciiBlock block = loadBlock(at); block.isAscii) {
                size += Bytes::size(block);
                at += blockUnits;
                continue;
            }
        }
        const char32_t point = nextCodePoint(at, end);
        if (point < 0x80) {
            size += Bytes::size(point);
        } else {
            size += Bytes::longest * (point < 0x800 ? 2 : point < 0x10000 ? 3 : 4);
        }
    }
    return size;
}

// Encodes the units up to `stop`, and the second half of a surrogate pair behind it; `end` is the
// end of the text.
template <class Bytes>
char* encodeUnits(char* out, const char16_t*& at, const char16_t* stop, const char16_t* end) {
    while (at < stop) {
        if (*at < 0x80) {
            out = Bytes::write(out, *at++);
        } else {
            out = writeCodePoint<Bytes>(out, nextCodePoint(at, end));
        }
    }
    return out;
}

template <class Bytes>
char* encodeChunk(char* out, const char16_t*& at, const char16_t* stop, const char16_t* end) {
    while (stop - at >= static_cast<std::ptrdiff_t>(blockUnits)) {
        if (const AsciiBlock block = loadBlock(at); block.isAscii) {
            out = Bytes::write(out, block);
            at += blockUnits;
        } else {
            out = encodeUnits<Bytes>(out, at, at + blockUnits, end);
        }
    }
    while (stop - at >= static_cast<std::ptrdiff_t>(shortUnits)) {
        if (const AsciiBlock block = loadShort(at); block.isAscii) {
            out = Bytes::write(out, block) - (blockUnits - shortUnits);
            at += shortUnits;
        } else {
            out = encodeUnits<Bytes>(out, at, at + shortUnits, end);
        }
    }
    return encodeUnits<Bytes>(out, at, stop, end);
}

template <class Bytes>
std::string encode(std::u16string_view text) {
    // Most texts fit the buffer, so that the result is allocated once, at its exact size; a longer
    // one is measured first for the same reason.
    constexpr std::size_t chunkUnits = 384;
    // One unit more than a chunk, since a surrogate pair may begin at its last unit.
    char buffer[(chunkUnits + 1) * 3 * Bytes::longest + blockSlack];

    const char16_t* at = text.data();
    const char16_t* const end = at + text.size();
    if (text.size() <= chunkUnits) {
        return {buffer, encodeChunk<Bytes>(buffer, at, end, end)};
    }
    std::string result;
    result.reserve(encodedSize<Bytes>(at, end));
    while (at != end) {
        const char16_t* const stop = at + std::min(chunkUnits, static_cast<std::size_t>(end - at));
        const char* const out = encodeChunk<Bytes>(buffer, at, stop, end);
        result.append(buffer, static_cast<std::size_t>(out - buffer));
    }
    return result;
}

}  // namespace

std::string toUtf8(std::u16string_view text) { return encode<PlainBytes>(text); }

std::string percentEncode(std::u16string_view text) { return encode<EscapedBytes>(text); }

}  // namespace storage::kvxclient::detail
