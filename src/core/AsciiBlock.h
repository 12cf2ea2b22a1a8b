#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace storage::kvxclient::detail {

// Most of what is encoded is ASCII, and of that most needs no escape: 32 units at a time are
// narrowed, tested and stored with the vector instructions that every x86-64 has. What it does is
// what the scalar loop in PathEncoding.cpp does, unit by unit.

constexpr std::size_t blockUnits = 32;

/// What a block may write beyond the bytes that it returns.
constexpr std::size_t blockSlack = 32;

/// Thirty-two ASCII units as bytes.
struct AsciiBlock {
    __m128i low;
    __m128i high;
    bool isAscii;
};

inline AsciiBlock loadBlock(const char16_t* text) {
    const auto* const units = reinterpret_cast<const __m128i*>(text);
    const __m128i a = _mm_loadu_si128(units);
    const __m128i b = _mm_loadu_si128(units + 1);
    const __m128i c = _mm_loadu_si128(units + 2);
    const __m128i d = _mm_loadu_si128(units + 3);
    const __m128i all = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
    const __m128i beyond = _mm_and_si128(all, _mm_set1_epi16(static_cast<short>(0xFF80)));
    const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(beyond, _mm_setzero_si128()));
    return {_mm_packus_epi16(a, b), _mm_packus_epi16(c, d), zeros == 0xFFFF};
}

constexpr std::size_t shortUnits = 8;

/// Eight units, made a block by bytes that need no escape.
inline AsciiBlock loadShort(const char16_t* text) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i beyond = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80)));
    const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(beyond, _mm_setzero_si128()));
    const __m128i zeroDigits = _mm_set1_epi8('0');
    return {_mm_packus_epi16(units, _mm_srli_epi16(zeroDigits, 8)), zeroDigits, zeros == 0xFFFF};
}

/// One bit for each of sixteen ASCII bytes that must be escaped.
inline std::uint32_t escapeBits(__m128i bytes) {
    // As signed bytes: from '.' to '9', which takes in '/', and from 'a' to 'z' without case.
    const __m128i folded = _mm_or_si128(bytes, _mm_set1_epi8(0x20));
    const __m128i digit = _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8('.' - 1)),
                                        _mm_cmplt_epi8(bytes, _mm_set1_epi8('9' + 1)));
    const __m128i letter = _mm_and_si128(_mm_cmpgt_epi8(folded, _mm_set1_epi8('a' - 1)),
                                         _mm_cmplt_epi8(folded, _mm_set1_epi8('z' + 1)));
    return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_or_si128(digit, letter))) ^ 0xFFFFU;
}

inline std::uint32_t escapeBits(const AsciiBlock& block) {
    return escapeBits(block.low) | escapeBits(block.high) << 16;
}

/// Writes the bytes of a block at `out` and returns what follows them.
inline char* writePlain(const AsciiBlock& block, char* out) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), block.low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), block.high);
    return out + blockUnits;
}

/// Writes the bytes of a block at `out`, those in `escapes` as "%XX", and returns what follows.
inline char* writeEscaped(const AsciiBlock& block, std::uint32_t escapes, char* out) {
    if (escapes == 0) {
        return writePlain(block, out);
    }
    constexpr char digits[] = "0123456789ABCDEF";
    char bytes[blockUnits + blockSlack];  // The rest is copied along, but never kept.
    writePlain(block, bytes);
    std::memset(bytes + blockUnits, 0, blockSlack);
    std::size_t done = 0;
    for (; escapes != 0; escapes &= escapes - 1) {
        const auto at = static_cast<std::size_t>(__builtin_ctz(escapes));
        std::memcpy(out, bytes + done, blockUnits);
        out += at - done;
        const auto byte = static_cast<unsigned char>(bytes[at]);
        out[0] = '%';
        out[1] = digits[byte >> 4];
        out[2] = digits[byte & 15];
        out += 3;
        done = at + 1;
    }
    std::memcpy(out, bytes + done, blockUnits);
    return out + (blockUnits - done);
}

}  // namespace storage::kvxclient::detail
