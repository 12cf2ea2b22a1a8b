#include <gtest/gtest.h>

#include <string>

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

}  // namespace
