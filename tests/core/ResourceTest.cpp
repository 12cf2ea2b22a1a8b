#include <gtest/gtest.h>
#include <unicode/ustring.h>

#include <array>
#include <random>
#include <string>
#include <vector>

#include "storage/kvxclient/Resource.h"

using namespace storage::kvxclient;

namespace {

std::string encodedPath(std::u16string path) {
    return Resource(std::move(path), u"").getAsciiPercentEncodedPath();
}

std::string utf8Bucket(std::u16string bucket) {
    return Resource(u"", std::move(bucket)).getUTF8Bucket();
}

TEST(Resource, encodesPaths) {
    const struct {
        const char16_t* path;
        const char* encoded;
    } rows[] = {
        {u"/Documents/My File.txt", "/Documents/My%20File.txt"},
        {u"/a-b_c~d", "/a%2Db%5Fc%7Ed"},
        {u"/Über/ä.txt", "/%C3%9Cber/%C3%A4.txt"},
        {u"/Preis 5€", "/Preis%205%E2%82%AC"},
        {u"/😀.png", "/%F0%9F%98%80.png"},
        {u"/50%+a?b#c:d\\e", "/50%25%2Ba%3Fb%23c%3Ad%5Ce"},
        {u"report.txt", "report.txt"},
        {u"", ""},
        {u"///", "///"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.encoded, encodedPath(row.path));
    }
    EXPECT_EQ("\xC3\xBC \xE2\x82\xAC-", utf8Bucket(u"ü €-"));
}

TEST(Resource, takesThePathFirst) {
    Resource resource(u"/x", u"b");
    EXPECT_EQ(u"/x", resource.getPath());
    EXPECT_EQ(u"b", resource.getBucket());
    resource.setPath(u"/y");
    resource.setBucket(u"c");
    EXPECT_EQ(Resource(u"/y", u"c"), resource);
}

TEST(Resource, comparesCodeUnits) {
    const Resource base(u"/a", u"b");
    EXPECT_TRUE(Resource() == Resource(u"", u""));
    EXPECT_TRUE(base == base);
    for (const Resource& other : {Resource(u"/A", u"b"), Resource(u"/a", u"B"),
                                  Resource(u"/a/", u"b"), Resource(u"b", u"/a"), Resource()}) {
        EXPECT_FALSE(base == other);
        EXPECT_FALSE(other == base);
    }
    EXPECT_FALSE(Resource(u"/\u00e9", u"") == Resource(u"/e\u0301", u""));
}

// The reference: ICU's conversion, and an escape that follows the rule word by word.
std::string referenceUtf8(const std::u16string& text) {
    std::string result(text.size() * 3, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(result.data(), static_cast<int32_t>(result.size()), &length, text.data(),
                       static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
    result.resize(static_cast<std::size_t>(length));
    return result;
}

std::string referenceEscape(const std::string& utf8) {
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

void expectAgreement(const std::u16string& text) {
    const std::string utf8 = referenceUtf8(text);
    // Plain conditions: a million expectations would cost more than what they check.
    if (utf8Bucket(text) != utf8) {
        ADD_FAILURE() << "UTF-8 of " << testing::PrintToString(text);
    }
    if (encodedPath(text) != referenceEscape(utf8)) {
        ADD_FAILURE() << "escape of " << testing::PrintToString(text);
    }
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
                expectAgreement({a, b});
                expectAgreement({a, b, c});
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
    for (int round = 0; round < 1'000'000; ++round) {
        expectAgreement(text(below(24)));
    }
    // Runs of ASCII, which go through the encoder in blocks, with hardly anything between them.
    for (int round = 0; round < 200'000; ++round) {
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
