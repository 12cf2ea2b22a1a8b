#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "core/PathEncoding.h"
#include "support/EncoderReference.h"

using namespace storage::kvxclient;

namespace {

void expectAgreement(std::u16string_view text) {
    const std::string utf8 = referenceUtf8(text);
    // Plain conditions: a million expectations would cost more than the encoder.
    if (detail::toUtf8(text) != utf8) {
        ADD_FAILURE() << "UTF-8 of " << testing::PrintToString(std::u16string(text));
    }
    if (detail::percentEncode(text) != referenceEscape(utf8)) {
        ADD_FAILURE() << "escape of " << testing::PrintToString(std::u16string(text));
    }
}

// Uses memory of the exact size, so that AddressSanitizer sees a read beyond either end.
void expectAgreementAt(std::size_t alignment, const std::u16string& text) {
    std::vector<char16_t> memory(alignment + text.size());
    std::copy(text.begin(), text.end(), memory.begin() + static_cast<std::ptrdiff_t>(alignment));
    expectAgreement({memory.data() + alignment, text.size()});
}

TEST(Encoder, agreesWithIcuOnEveryCodeUnit) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        expectAgreement(std::u16string(1, static_cast<char16_t>(unit)));
    }
}

TEST(Encoder, agreesWithIcuOnEveryPairing) {
    // Both ends of every range that the conversion treats differently.
    const std::u16string edges = {0x0000, 0x007F, 0x0080, 0x07FF, 0x0800, 0xD7FF, 0xD800,
                                  0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFD, 0xFFFF};
    for (const char16_t a : edges) {
        for (const char16_t b : edges) {
            for (const char16_t c : edges) {
                expectAgreement(std::u16string{a, b});
                expectAgreement(std::u16string{a, b, c});
            }
        }
    }
}

TEST(Encoder, agreesWithIcuAtEveryLengthAndAlignment) {
    for (std::size_t length = 0; length <= 300; ++length) {
        for (std::size_t alignment = 0; alignment < 8; ++alignment) {
            const std::u16string plain(length, u'x');
            expectAgreementAt(alignment, plain);
            // One other unit at each place in turn, of every kind that is treated differently.
            for (const char16_t other : {u' ', u'\u007f', u'\u00e4', u'\u6587', char16_t{0xD83D}}) {
                const std::size_t step = alignment == 0 ? 1 : 7;
                for (std::size_t at = alignment; at < length; at += step) {
                    std::u16string text = plain;
                    text[at] = other;
                    expectAgreementAt(alignment, text);
                }
            }
        }
    }
}

TEST(Encoder, agreesWithIcuOnRandomTexts) {
    std::mt19937 random(20260101);
    const auto below = [&random](unsigned bound) { return random() % bound; };
    const auto unit = [&]() -> char16_t {
        switch (below(8)) {
            case 0:
                return static_cast<char16_t>(0xD800 + below(0x800));
            case 1:
                return static_cast<char16_t>(below(0x10000));
            case 2:
                return static_cast<char16_t>(0x80 + below(0x780));
            default:
                return static_cast<char16_t>(below(0x80));
        }
    };
    const auto text = [&](std::size_t length) {
        std::u16string result(length, u'\0');
        for (auto& each : result) {
            each = unit();
        }
        return result;
    };
    for (int round = 0; round < RANDOM_TEXTS; ++round) {
        expectAgreement(text(below(24)));
    }
    // Runs of ASCII, which the encoder takes in blocks, with hardly anything between them.
    for (int round = 0; round < RANDOM_TEXTS / 5; ++round) {
        std::u16string ascii(below(200), u'\0');
        for (auto& each : ascii) {
            each = static_cast<char16_t>(below(0x80));
        }
        if (!ascii.empty() && below(2) == 0) {
            ascii[below(static_cast<unsigned>(ascii.size()))] = unit();
        }
        expectAgreement(ascii);
    }
    // Around the size of the encoder's buffer, where a pair may straddle its end.
    for (std::size_t length = 380; length < 390; ++length) {
        for (int round = 0; round < 50; ++round) {
            expectAgreement(text(length));
            expectAgreement(std::u16string(length - 1, u'-') + u"😀" + text(length));
        }
    }
    expectAgreement(text(100'000));
}

}  // namespace
