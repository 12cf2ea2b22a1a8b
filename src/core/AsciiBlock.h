#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace storage::kvxclient::detail {

// Most text is ASCII that needs no escape: the vector instructions of every x86-64 narrow, test and
// store 32 units at a time. The result is that of the scalar loop in PathEncoding.cpp.

constexpr std::size_t blockUnits = 32;

/// How many bytes a block may write beyond those it returns.
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

template <std::size_t units>
__m128i load(const char16_t* text) {
    const auto* const from = reinterpret_cast<const __m128i*>(text);
    return units == 8 ? _mm_loadu_si128(from) : _mm_loadl_epi64(from);
}

constexpr std::size_t shortUnits = 8;

/// Eight units, padded to a block with bytes that need no escape.
inline AsciiBlock loadShort(const char16_t* text) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i beyond = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80)));
    const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(beyond, _mm_setzero_si128()));
    const __m128i zeroDigits = _mm_set1_epi8('0');
    return {_mm_packus_epi16(units, _mm_srli_epi16(zeroDigits, 8)), zeroDigits, zeros == 0xFFFF};
}

/// Reads the first and the last units of a text, which may overlap, in the widest pieces that stay
/// within it.
inline bool isAscii(const char16_t* text, std::size_t size) {
    const __m128i beyond = _mm_set1_epi16(static_cast<short>(0xFF80));
    __m128i all = _mm_setzero_si128();
    if (size >= 8) {
        for (std::size_t at = 0; at + 8 < size; at += 8) {
            all = _mm_or_si128(all, load<8>(text + at));
        }
        all = _mm_or_si128(all, load<8>(text + size - 8));
    } else if (size >= 4) {
        all = _mm_or_si128(load<4>(text), load<4>(text + size - 4));
    } else if (size > 0) {
        return (text[0] | text[size / 2] | text[size - 1]) < 0x80;
    }
    const __m128i zeros = _mm_cmpeq_epi8(_mm_and_si128(all, beyond), _mm_setzero_si128());
    return _mm_movemask_epi8(zeros) == 0xFFFF;
}

inline __m128i narrowed(__m128i units) { return _mm_packus_epi16(units, units); }

/// Writes fewer than sixteen ASCII units as bytes.
inline void narrowShort(const char16_t* text, std::size_t size, char* out) {
    if (size >= 8) {
        for (const std::size_t at : {std::size_t{0}, size - 8}) {
            const __m128i bytes = narrowed(load<8>(text + at));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + at), bytes);
        }
    } else if (size >= 4) {
        for (const std::size_t at : {std::size_t{0}, size - 4}) {
            const int bytes = _mm_cvtsi128_si32(narrowed(load<4>(text + at)));
            std::memcpy(out + at, &bytes, sizeof bytes);
        }
    } else if (size > 0) {
        out[0] = static_cast<char>(text[0]);
        out[size / 2] = static_cast<char>(text[size / 2]);
        out[size - 1] = static_cast<char>(text[size - 1]);
    }
}

/// Writes sixteen or more ASCII units as bytes.
inline void narrowLong(const char16_t* text, std::size_t size, char* out) {
    const auto narrowAt = [&](std::size_t at) {
        const __m128i bytes = _mm_packus_epi16(load<8>(text + at), load<8>(text + at + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at), bytes);
    };
    for (std::size_t at = 0; at + 16 < size; at += 16) {
        narrowAt(at);
    }
    narrowAt(size - 16);
}

/// One bit for each of sixteen ASCII bytes, set if the byte must be escaped.
inline std::uint32_t escapeBits(__m128i bytes) {
    // As signed bytes: '.' to '9', which includes '/', and 'a' to 'z' in either case.
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

/// Writes "%XX" for an ASCII byte and returns what follows.
inline char* writeEscape(char* out, unsigned byte) {
    constexpr char digits[] = "0123456789ABCDEF";
    out[0] = '%';
    out[1] = digits[byte >> 4];
    out[2] = digits[byte & 15];
    return out + 3;
}

/// Writes the bytes of a block at `out`, those in `escapes` as "%XX", and returns what follows.
inline char* writeEscaped(const AsciiBlock& block, std::uint32_t escapes, char* out) {
    if (escapes == 0) {
        return writePlain(block, out);
    }
    char bytes[blockUnits + blockSlack];  // The rest is copied too, but never kept.
    writePlain(block, bytes);
    std::memset(bytes + blockUnits, 0, blockSlack);
    std::size_t done = 0;
    for (; escapes != 0; escapes &= escapes - 1) {
        const auto at = static_cast<std::size_t>(__builtin_ctz(escapes));
        std::memcpy(out, bytes + done, blockUnits);
        out = writeEscape(out + (at - done), static_cast<unsigned char>(bytes[at]));
        done = at + 1;
    }
    std::memcpy(out, bytes + done, blockUnits);
    return out + (blockUnits - done);
}

/// The same for the block at the beginning of a text of at least two blocks: what follows an escape
/// is read again from the text, which is faster than from bytes just written.
inline char* writeEscaped(const AsciiBlock& block, std::uint32_t escapes, const char16_t* text,
                          char* out) {
    writePlain(block, out);
    std::size_t done = 0;
    for (; escapes != 0; escapes &= escapes - 1) {
        const auto at = static_cast<std::size_t>(__builtin_ctz(escapes));
        out = writeEscape(out + (at - done), text[at]);
        done = at + 1;
        writePlain(loadBlock(text + done), out);
    }
    return out + (blockUnits - done);
}

}  // namespace storage::kvxclient::detail
