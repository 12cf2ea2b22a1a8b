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

// Latin, Greek and Cyrillic.
constexpr unsigned smallPoints = 0x530;

// The encoding of each, six characters at most, so that a text that mixes ASCII with other letters
// takes no branch.
struct Encoded {
    char text[7];
    std::uint8_t size;
};

constexpr std::array<Encoded, smallPoints> makeTable() {
    std::array<Encoded, smallPoints> table{};
    for (unsigned point = 0; point < smallPoints; ++point) {
        const unsigned bytes[] = {0xC0 | point >> 6, point < 0x80 ? point : 0x80 | (point & 0x3F)};
        Encoded& entry = table[point];
        for (unsigned at = point < 0x80 ? 1 : 0; at < 2; ++at) {
            const Escape& escape = escapes[bytes[at]];
            for (unsigned i = 0; i < escape.size; ++i) {
                entry.text[entry.size++] = escape.text[i];
            }
        }
    }
    return table;
}

constexpr std::array<Encoded, smallPoints> table = makeTable();

struct PlainBytes {
    static constexpr std::size_t longest = 1;
    static std::size_t size(const AsciiBlock&) { return blockUnits; }
    static char* write(char* out, const AsciiBlock& block) { return writePlain(block, out); }
    static char* write(char* out, const AsciiBlock& block, const char16_t*) {
        return writePlain(block, out);
    }
    static std::size_t smallSize(unsigned point) { return point < 0x80 ? 1 : 2; }
    static char* writeSmall(char* out, unsigned point) {
        const bool two = point >= 0x80;
        out[0] = static_cast<char>(two ? 0xC0 | point >> 6 : point);
        out[1] = static_cast<char>(0x80 | (point & 0x3F));
        return out + 1 + two;
    }
    // For bytes of 0x80 and above.
    static char* writeHigh(char* out, unsigned byte) {
        *out = static_cast<char>(byte);
        return out + 1;
    }
};

// Copies whole entries, which is cheaper than copying only what is needed.
struct EscapedBytes {
    static constexpr std::size_t longest = 3;
    static std::size_t size(const AsciiBlock& block) {
        return blockUnits + 2 * static_cast<std::size_t>(__builtin_popcount(escapeBits(block)));
    }
    static char* write(char* out, const AsciiBlock& block) {
        return writeEscaped(block, escapeBits(block), out);
    }
    static char* write(char* out, const AsciiBlock& block, const char16_t* text) {
        return writeEscaped(block, escapeBits(block), text, out);
    }
    static std::size_t smallSize(unsigned point) { return table[point].size; }
    static char* writeSmall(char* out, unsigned point) {
        std::memcpy(out, &table[point], sizeof(Encoded));
        return out + table[point].size;
    }
    static char* writeHigh(char* out, unsigned byte) {
        std::memcpy(out, &escapes[byte], sizeof(Escape));
        return out + 3;
    }
};

constexpr unsigned replacement = 0xFFFD;

bool isSurrogate(unsigned unit) { return (unit & 0xF800) == 0xD800; }

// Whether a surrogate and the unit after it make a pair.
bool isPair(unsigned unit, const char16_t* next, const char16_t* end) {
    return unit < 0xDC00 && next != end && (*next & 0xFC00) == 0xDC00;
}

template <class Bytes>
char* writeContinuation(char* out, unsigned bits) {
    return Bytes::writeHigh(out, 0x80 | (bits & 0x3F));
}

template <class Bytes>
char* writeTwo(char* out, unsigned point) {
    return writeContinuation<Bytes>(Bytes::writeHigh(out, 0xC0 | point >> 6), point);
}

template <class Bytes>
char* writeThree(char* out, unsigned point) {
    out = Bytes::writeHigh(out, 0xE0 | point >> 12);
    out = writeContinuation<Bytes>(out, point >> 6);
    return writeContinuation<Bytes>(out, point);
}

template <class Bytes>
char* writePair(char* out, unsigned high, unsigned low) {
    const unsigned point = 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
    out = Bytes::writeHigh(out, 0xF0 | point >> 18);
    out = writeContinuation<Bytes>(out, point >> 12);
    out = writeContinuation<Bytes>(out, point >> 6);
    return writeContinuation<Bytes>(out, point);
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
        const unsigned unit = *at++;
        if (unit < smallPoints) {
            size += Bytes::smallSize(unit);
        } else if (unit < 0x800) {
            size += 2 * Bytes::longest;
        } else if (isSurrogate(unit) && isPair(unit, at, end)) {
            size += 4 * Bytes::longest;
            ++at;
        } else {
            size += 3 * Bytes::longest;
        }
    }
    return size;
}

// Encodes the units up to `stop`, and the second half of a surrogate pair that begins before it;
// `end` is the end of the text.
template <class Bytes>
char* encodeUnits(char* out, const char16_t*& position, const char16_t* stop, const char16_t* end) {
    const char16_t* at = position;  // A copy, which can stay in a register.
    while (at < stop) {
        const unsigned unit = *at++;
        if (unit < smallPoints) {
            out = Bytes::writeSmall(out, unit);
        } else if (unit < 0x800) {
            out = writeTwo<Bytes>(out, unit);
        } else if (!isSurrogate(unit)) {
            out = writeThree<Bytes>(out, unit);
        } else if (isPair(unit, at, end)) {
            out = writePair<Bytes>(out, unit, *at++);
        } else {
            out = writeThree<Bytes>(out, replacement);
        }
    }
    position = at;
    return out;
}

template <class Bytes>
char* encodeChunk(char* out, const char16_t*& at, const char16_t* stop, const char16_t* end) {
    while (stop - at >= static_cast<std::ptrdiff_t>(blockUnits)) {
        if (const AsciiBlock block = loadBlock(at); block.isAscii) {
            const bool more = stop - at >= static_cast<std::ptrdiff_t>(2 * blockUnits);
            out = more ? Bytes::write(out, block, at) : Bytes::write(out, block);
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
    // One unit more than a chunk, since a surrogate pair may begin at the chunk's last unit.
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

// Names of buckets are short and plain: their bytes are written straight into the result.
constexpr char zeros[64] = {};
constexpr std::size_t inPlace = 15;  // A string holds so many without an allocation.

std::string shortAscii(std::u16string_view text) {
    std::string result(zeros, inPlace);  // The size is a constant: no call.
    narrowShort(text.data(), text.size(), result.data());
    result.erase(text.size());
    return result;
}

std::string longAscii(std::u16string_view text) {
    std::string result(zeros, text.size());
    narrowLong(text.data(), text.size(), result.data());
    return result;
}

}  // namespace

std::string toUtf8(std::u16string_view text) {
    if (text.size() > sizeof zeros || !isAscii(text.data(), text.size())) {
        return encode<PlainBytes>(text);
    }
    return text.size() > inPlace ? longAscii(text) : shortAscii(text);
}

std::string percentEncode(std::u16string_view text) { return encode<EscapedBytes>(text); }

}  // namespace storage::kvxclient::detail
