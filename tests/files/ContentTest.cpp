#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <stdexcept>

#include "storage/kvxclient.h"
#include "support/Allocations.h"

using namespace storage::kvxclient;

namespace {

std::string textOf(const std::vector<char>& bytes) { return {bytes.begin(), bytes.end()}; }

// The record's content, which some records return by reference and some as a copy.
template <class Record>
std::vector<char> contentOf(const Record& record) {
    if constexpr (requires { record.getContent(); }) {
        return record.getContent();
    } else {
        EXPECT_EQ(record.getContentLength(), record.getResponseBody().size());
        return record.getResponseBody();
    }
}

template <class Record>
void expectAppending(Record record) {
    EXPECT_EQ("", textOf(contentOf(record)));
    record.appendContent(nullptr, 0);
    record.appendContent("abc", 3);
    record.appendContent("defgh-not-this", 5);
    EXPECT_EQ("abcdefgh", textOf(contentOf(record)));
    const auto limit = static_cast<unsigned long>(std::numeric_limits<std::ptrdiff_t>::max());
    for (const unsigned long size : {limit - 7, limit, limit + 1, ~0UL - 7, ~0UL}) {
        try {
            record.appendContent("x", size);
            ADD_FAILURE() << "appended " << size;
        } catch (const std::length_error& error) {
            EXPECT_STREQ("vector::_M_range_insert", error.what());
        }
    }
    EXPECT_EQ("abcdefgh", textOf(contentOf(record)));
}

TEST(Content, growsByAppendingAndRefusesWhatCannotFit) {
    expectAppending(FileCreateRequest(Resource()));
    expectAppending(FileReadResponse());
    expectAppending(FileContentReadResponse());
}

TEST(Content, ofACreateRequestIsReadByReference) {
    FileCreateRequest request{Resource()};
    request.appendContent("abc", 3);
    const std::vector<char>& content = request.getContent();
    EXPECT_EQ(3u, content.capacity()) << "a first append allocates exactly its size";
    request.appendContent("d", 1);
    EXPECT_EQ(6u, content.capacity()) << "growth at least doubles";
    EXPECT_EQ("abcd", textOf(content));
}

// Sets the size of the read buffer for one test.
struct ReadBufferSize {
    ReadBufferSize(unsigned long size) { BufferSize::MAX_READ_BUFFER_SIZE = size; }
    ~ReadBufferSize() { BufferSize::MAX_READ_BUFFER_SIZE = 4'194'304; }
};

TEST(Content, roomForTheReadBufferIsMadeOnceInAResponse) {
    EXPECT_EQ(4'194'304u, BufferSize::MAX_READ_BUFFER_SIZE);
    EXPECT_EQ(4'194'304u, BufferSize::MAX_WRITE_BUFFER_SIZE);
    const std::string half(2'097'152, 'x');
    allocations::countLarge = 0;
    FileContentReadResponse response;
    response.appendContent(half.data(), half.size());
    response.appendContent(half.data(), half.size());
    EXPECT_EQ(1u, allocations::countLarge);
    response.appendContent("x", 1);
    EXPECT_EQ(2u, allocations::countLarge);
}

TEST(Content, readBufferSizeIsTakenWhenAResponseIsMade) {
    {
        const ReadBufferSize none(0);
        allocations::count = 0;
        const FileContentReadResponse response;
        EXPECT_EQ(0u, allocations::count);
    }
    const ReadBufferSize tooLarge(~0UL);
    try {
        FileContentReadResponse();
        ADD_FAILURE() << "reserved 2^64 - 1 bytes";
    } catch (const std::length_error& error) {
        EXPECT_STREQ("vector::reserve", error.what());
    }
}

TEST(Content, ofAWriteRequestIsTheCallersOwn) {
    const unsigned char one[] = "same", other[] = "same";
    const auto request = [](const unsigned char* data) {
        return FileContentWriteRequest(Resource()).withContent(data, 4);
    };
    const FileContentWriteRequest copy = request(one);
    EXPECT_EQ(one, copy.getContent());
    EXPECT_EQ(4u, copy.getContentSize());
    EXPECT_TRUE(copy == request(one));
    EXPECT_FALSE(copy == request(other));
    EXPECT_FALSE(copy == request(one).withContent(one, 3));
}

TEST(Download, fileNameIsTheEndOfTheLocation) {
    const struct {
        const char *location, *name;
    } rows[] = {{"a/b/c.bin", "/c.bin"}, {"x/y/", "/"}, {"/", "/"}, {"none", "none"}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.name, FileDownloadRequest(row.location).getLocationFilename());
    }
}

TEST(Metadata, documentHoldsWholeMillisecondsCutTowardZero) {
    const struct {
        long nanoseconds;
        const char* milliseconds;
    } rows[] = {
        {0, "0"},
        {1'609'459'200'123'456'789, "1609459200123"},
        {999'999, "0"},
        {-999'999, "0"},
        {-1'500'000, "-1"},
        {std::numeric_limits<long>::max(), "9223372036854"},
        {std::numeric_limits<long>::min(), "-9223372036854"},
    };
    for (const auto& row : rows) {
        const std::chrono::system_clock::time_point time{std::chrono::nanoseconds(row.nanoseconds)};
        EXPECT_EQ(
            std::string("<FileSystemMetadata>\n<ClientLastModified>") + row.milliseconds +
                "</ClientLastModified>\n</FileSystemMetadata>",
            SetMetadataRequest(Resource()).withClientLastModified(time).getXMLFormattedMetadata());
    }
}

TEST(MultiFolderListing, holdsOneListingForAPathInTheOrderOfPaths) {
    MultiFolderListResponse response;
    const auto marked = [](const char16_t* path, const char16_t* bucket, const char16_t* mark) {
        return ResourceAndFolderList(Resource(path, bucket)).withFolderSummary(FolderSummary(mark));
    };
    response.add(marked(u"/b", u"x", u"1"));
    response.add(marked(u"/a/c", u"x", u"2"));
    response.add(marked(u"/a", u"x", u"3"));
    response.add(marked(u"/a", u"y", u"dropped"));
    response.add(marked(u"", u"x", u"4"));
    response.add(marked(u"/\xFFFF", u"x", u"5"));  // By code unit: after a surrogate pair.
    response.add(marked(u"/\U0001F600", u"x", u"6"));
    std::u16string paths, marks;
    for (const auto& listing : response.getFolders()) {
        paths += listing.getParentResource().getPath() + u"|";
        marks += listing.getFolderSummary().getName();
    }
    EXPECT_EQ(u"|/a|/a/c|/b|/\U0001F600|/\xFFFF|", paths);
    EXPECT_EQ(u"432165", marks);
}

}  // namespace
