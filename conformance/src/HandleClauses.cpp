#include <algorithm>
#include <limits>

#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

constexpr unsigned long largest = std::numeric_limits<unsigned long>::max();

/// A file "f" with the content, and a handle that is open for writing it.
struct OpenFile {
    OpenFile(Scene& s, const std::string& content) : who(s.owner), file(s.f) {
        who.write(file, content);
        handle = who.openToWrite(file, FileCreateMode::UPDATE).getFileHandleId();
    }

    unsigned long write(unsigned long offset, const std::string& bytes) const {
        return who.writeRange(file, handle, offset, bytes);
    }
    std::string read(unsigned long offset, unsigned long length) const {
        return who.readRange(file, handle, offset, length);
    }
    void close(
        FileHandleCloseOperation operation = FileHandleCloseOperation::COMMIT_CHANGES) const {
        who.close(file, handle, operation);
    }

    const Participant& who;
    const Resource file;
    std::string handle;
};

}  // namespace

const Clauses handleClauses{
    {"handles.open.tellsTheSize",
     [](Scene& s) {
         s.owner.write(s.f, "12345");
         const auto reading = s.owner.call(&FileAccess::createReadOnlyFileHandle, s.f);
         EXPECT_EQ(reading.getFileSize(), 5U);
         EXPECT_FALSE(reading.getFileHandleId().empty());
         const auto writing = s.owner.openToWrite(s.f, FileCreateMode::UPDATE);
         EXPECT_EQ(writing.getFileSize(), 5U);
         EXPECT_FALSE(writing.getFileCreated());
         EXPECT_NE(writing.getFileHandleId(), reading.getFileHandleId());
     }},
    {"handles.open.createsWhenAsked",
     [](Scene& s) {
         for (const auto mode : {FileCreateMode::CREATE, FileCreateMode::CREATE_OR_UPDATE}) {
             const Resource file = s.at(mode == FileCreateMode::CREATE ? u"new" : u"newer");
             const auto opened = s.owner.openToWrite(file, mode);
             EXPECT_TRUE(opened.getFileCreated());
             EXPECT_EQ(opened.getFileSize(), 0U);
             s.owner.writeRange(file, opened.getFileHandleId(), 0, "text");
             s.owner.close(file, opened.getFileHandleId());
         }
         EXPECT_EQ(s.owner.tree(s.folder), "new=text newer=text ");
         EXPECT_FALSE(
             s.owner.openToWrite(s.at(u"new"), FileCreateMode::CREATE_OR_UPDATE).getFileCreated());
     }},
    {"handles.open.truncatesWhenAsked",
     [](Scene& s) {
         s.owner.write(s.f, "12345");
         const auto opened = s.owner.openToWrite(s.f, FileCreateMode::UPDATE, true);
         EXPECT_EQ(opened.getFileSize(), 0U);
         EXPECT_EQ(s.owner.read(s.f), "12345") << "not before the handle is closed";
         s.owner.writeRange(s.f, opened.getFileHandleId(), 0, "ab");
         s.owner.close(s.f, opened.getFileHandleId());
         EXPECT_EQ(s.owner.read(s.f), "ab");
     }},
    {"handles.read.ranges",
     [](Scene& s) {
         std::string content(600'000, '\0');
         for (std::size_t i = 0; i < content.size(); ++i) {
             content[i] = static_cast<char>(i * 7 + i / 256);
         }
         s.owner.write(s.f, content);
         const std::string handle = s.owner.openToRead(s.f);
         struct {
             unsigned long offset, length;
         } const ranges[] = {{0, 0},          {0, 1},         {0, 600'000},
                             {1, 262'144},    {262'143, 2},   {262'144, 262'144},
                             {599'999, 1},    {599'999, 100}, {600'000, 1},
                             {600'001, 1},    {100, largest}, {largest, largest},
                             {1UL << 63U, 1}, {largest, 1}};
         for (const auto [offset, length] : ranges) {
             const std::string expected =
                 offset < content.size() ? content.substr(offset, length) : "";
             const auto range =
                 s.owner.call(&FileAccess::readFileContent, FileContentReadRequest(s.f)
                                                                .withFileHandleId(handle)
                                                                .withStartLocation(offset)
                                                                .withLength(length));
             const auto body = range.getResponseBody();
             EXPECT_TRUE(std::string(body.begin(), body.end()) == expected)
                 << offset << '+' << length << " gave " << body.size() << " bytes";
             EXPECT_EQ(range.getFileSize(), content.size());
         }
     }},
    {"handles.read.contentAsItWas",
     [](Scene& s) {
         s.owner.write(s.f, "then");
         const std::string handle = s.owner.openToRead(s.f);
         s.owner.write(s.f, "now, and longer");
         EXPECT_EQ(s.owner.readRange(s.f, handle, 0, 100), "then");
         s.owner.remove(s.f);
         EXPECT_EQ(s.owner.readRange(s.f, handle, 1, 2), "he");
         s.owner.close(s.f, handle);
     }},
    {"handles.write.ranges",
     [](Scene& s) {
         struct {
             unsigned long offset;
             std::string bytes;
         } const writes[] = {{0, "X"},
                             {9, "end"},
                             {4, ""},
                             {20, "after a hole"},
                             {262'140, std::string(9, 'c')},
                             {700'000, "far"},
                             {262'143, "chunk"}};
         std::string expected = "0123456789";
         const OpenFile open(s, expected);
         for (const auto& [offset, bytes] : writes) {
             if (!bytes.empty()) {
                 expected.resize(std::max(expected.size(), offset + bytes.size()), '\0');
                 expected.replace(offset, bytes.size(), bytes);
             }
             EXPECT_EQ(open.write(offset, bytes), expected.size());
             EXPECT_TRUE(open.read(0, largest) == expected) << "after writing at " << offset;
         }
         open.close();
         EXPECT_TRUE(s.owner.read(open.file) == expected);
     }},
    {"handles.write.beyondEveryLimit",
     [](Scene& s) {
         const OpenFile open(s, "kept");
         for (const unsigned long offset : {largest, largest - 1, 1UL << 63U}) {
             const auto code = codeOf([&] { open.write(offset, "xx"); });
             EXPECT_TRUE(code == Code::FILE_TOO_LARGE || code == Code::QUOTA_EXCEEDED) << offset;
         }
         open.close();
         EXPECT_EQ(s.owner.read(open.file), "kept");
     }},
    {"handles.write.bytesMayChangeOnCompletion",
     [](Scene& s) {
         const OpenFile open(s, "");
         // The bytes change but stay alive, so that a transport that reads them late fails without
         // a crash.
         const auto bytes = std::make_shared<std::vector<unsigned char>>(300'000, 'a');
         s.owner
             .start(&FileAccess::writeFileContent,
                    FileContentWriteRequest(open.file)
                        .withFileHandleId(open.handle)
                        .withStartLocation(0)
                        .withContent(bytes->data(), bytes->size()),
                    [bytes] { std::fill(bytes->begin(), bytes->end(), 'z'); })
             ->get();
         // The outcome is set before the handler has returned.
         s.owner.client().waitForPendingCalls();
         open.close();
         EXPECT_TRUE(s.owner.read(open.file) == std::string(300'000, 'a'));
     }},
    {"handles.write.unseenBeforeCommit",
     [](Scene& s) {
         const OpenFile open(s, "old");
         open.write(0, "new content");
         EXPECT_EQ(s.owner.read(open.file), "old");
         EXPECT_EQ(s.owner.stat(open.file).getSize(), 3U);
         const auto created = s.owner.openToWrite(s.g, FileCreateMode::CREATE);
         EXPECT_EQ(s.owner.names(s.folder), "f ");
         open.close();
         s.owner.close(s.g, created.getFileHandleId());
         EXPECT_EQ(s.owner.tree(s.folder), "f=new content g= ");
     }},
    {"handles.abort.discards",
     [](Scene& s) {
         const OpenFile open(s, "old");
         open.write(0, "new content");
         open.close(FileHandleCloseOperation::ABORT_CHANGES);
         const auto created = s.owner.openToWrite(s.g, FileCreateMode::CREATE);
         s.owner.writeRange(s.g, created.getFileHandleId(), 0, "x");
         s.owner.close(s.g, created.getFileHandleId(), FileHandleCloseOperation::ABORT_CHANGES);
         EXPECT_EQ(s.owner.tree(s.folder), "f=old ");
     }},
    {"handles.close.endsTheHandle",
     [](Scene& s) {
         const OpenFile open(s, "old");
         open.close();
         EXPECT_EQ(codeOf([&] { open.read(0, 1); }), Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(codeOf([&] { open.write(0, "x"); }), Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(codeOf([&] { open.close(); }), Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(s.owner.read(open.file), "old");
     }},
    {"handles.owner.isWhoOpenedIt",
     [](Scene& s) {
         const OpenFile open(s, "old");
         const Participant& guest = s.guest();
         EXPECT_EQ(codeOf([&] { guest.readRange(open.file, open.handle, 0, 1); }),
                   Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(codeOf([&] { guest.writeRange(open.file, open.handle, 0, "x"); }),
                   Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(codeOf([&] { guest.close(open.file, open.handle); }), Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(open.read(0, 9), "old");
     }},
    {"handles.contentType.isKept",
     [](Scene& s) {
         const auto opened = s.owner.call(&FileAccess::createReadWriteFileHandle,
                                          FileHandleReadWriteCreateRequest(s.f)
                                              .withCreateMode(FileCreateMode::CREATE)
                                              .withContentType("image/png"));
         s.owner.close(s.f, opened.getFileHandleId());
         EXPECT_EQ(s.owner.call(&FileAccess::readFile, s.f).getContentType(), "image/png");
     }},
    {"handles.commit.keepsTheOldVersionWhenAsked",
     [](Scene& s) {
         const int first = s.owner.write(s.f, "first").getVersionLabel();
         const auto opened = s.owner.openToWrite(s.f, FileCreateMode::UPDATE);
         s.owner.writeRange(s.f, opened.getFileHandleId(), 0, "FIR");
         s.owner.close(s.f, opened.getFileHandleId(), FileHandleCloseOperation::COMMIT_CHANGES,
                       true);
         EXPECT_EQ(s.owner.read(s.f), "FIRst");
         EXPECT_EQ(s.owner.read(s.f, first), "first");
         EXPECT_EQ(s.owner.versions(s.f).size(), 2U);
         const std::string handle = s.owner.openToRead(s.f, first);
         EXPECT_EQ(s.owner.readRange(s.f, handle, 0, 9), "first");
     },
     {Capability::VERSIONS}},
};

}  // namespace storage::kvxconformance
