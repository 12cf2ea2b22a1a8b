#include <iostream>
#include <sstream>

#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

using namespace std::chrono_literals;

/// Bytes of every value, without a period that would hide a misplaced buffer.
std::string bytes(std::size_t size) {
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        content[i] = static_cast<char>(i * 31 + i / 251);
    }
    return content;
}

/// A stream into a string that outlives it, and notes when it ends.
class Sink : private std::stringbuf, public std::iostream {
public:
    Sink(std::string& taken, bool& ended)
        : std::iostream(static_cast<std::stringbuf*>(this)), taken_(taken), ended_(ended) {}
    ~Sink() override {
        taken_ = std::stringbuf::str();
        ended_ = true;
    }

private:
    std::string& taken_;
    bool& ended_;
};

std::string locate(Scene& s, const Resource& file) {
    return s.owner.call(&FileAccess::createFileDownload, file).getLocation();
}

FileDownloadResponse download(Scene& s, const FileDownloadRequest& request) {
    return s.owner.call(&FileAccess::downloadFile, request);
}

}  // namespace

const Clauses fileClauses{
    {"files.create.storesAnySize",
     [](Scene& s) {
         for (const std::size_t size : {0UL, 1UL, 4095UL, 65536UL, 65537UL, 262145UL, 3UL << 20U}) {
             const FileSummary summary = s.owner.write(s.f, bytes(size)).getFileSummary();
             EXPECT_EQ(summary.getSize(), size);
             EXPECT_TRUE(s.owner.read(s.f) == bytes(size)) << size << " bytes";
             EXPECT_EQ(s.owner.stat(s.f).getSize(), size);
         }
     }},
    {"files.create.replacesContent",
     [](Scene& s) {
         s.owner.write(s.f, "a long first content");
         s.owner.write(s.at(u"other"), "other");
         s.owner.write(s.f, "second");
         EXPECT_EQ(s.owner.tree(s.folder), "f=second other=other ");
     }},
    {"files.create.describesTheFile",
     [](Scene& s) {
         const FileSummary summary = s.owner.write(s.f, "12345").getFileSummary();
         EXPECT_EQ(summary.getName(), u"f");
         EXPECT_EQ(summary.getSize(), 5U);
         EXPECT_TRUE(summary.isWritable());
         const FileSummary listed = s.owner.list(s.folder).getFiles().at(0);
         EXPECT_EQ(listed, summary) << "a write and the listing after it tell the same";
     }},
    {"files.create.keepsContentType",
     [](Scene& s) {
         for (const char* type : {"image/png", "text/html; charset=utf-8"}) {
             FileCreateRequest request(s.f);
             s.owner.call(&FileAccess::createFile, request.withContentType(type));
             EXPECT_EQ(s.owner.call(&FileAccess::readFile, s.f).getContentType(), type);
         }
     }},
    {"files.delete.removesTheFile",
     [](Scene& s) {
         s.owner.write(s.f, "1");
         s.owner.write(s.g, "2");
         const auto summary = s.owner.call(&FileAccess::deleteFile, s.f).getDeletedFileSummary();
         if (summary) {
             EXPECT_EQ(summary->getParentResource(), s.folder);
         }
         EXPECT_EQ(s.owner.tree(s.folder), "g=2 ");
         EXPECT_EQ(codeOf([&] { s.owner.read(s.f); }), Code::RESOURCE_NOT_FOUND);
         s.owner.write(s.f, "again");
         EXPECT_EQ(s.owner.tree(s.folder), "f=again g=2 ");
     }},
    {"files.attributes.describeTheItem",
     [](Scene& s) {
         s.owner.write(s.f, "12345");
         s.owner.makeFolder(s.d);
         const FileAttributes file = s.owner.stat(s.f);
         EXPECT_EQ(file.getName(), u"f");
         EXPECT_EQ(file.getSize(), 5U);
         EXPECT_TRUE(file.getWritable());
         EXPECT_EQ(file.getAccessType(), AccessType::OWNER);
         EXPECT_GT(file.getLastModified().time_since_epoch(), 0s);
         const FileAttributes folder = s.owner.stat(s.d);
         EXPECT_EQ(folder.getName(), u"d");
         EXPECT_NE(folder.getType(), file.getType());
     }},
    {"files.watermark.changesWithTheFile",
     [](Scene& s) {
         s.owner.write(s.f, "1");
         const std::string first = s.owner.stat(s.f).getWatermark();
         EXPECT_EQ(s.owner.stat(s.f).getWatermark(), first);
         s.owner.write(s.f, "2");
         EXPECT_NE(s.owner.stat(s.f).getWatermark(), first);
     }},
    {"files.metadata.keepsTheTime",
     [](Scene& s) {
         s.owner.write(s.f, "1");
         for (const auto since : {1'234'567'890'123ms, 0ms, 1ms}) {
             const std::chrono::system_clock::time_point time(since);
             s.owner.call(&FileAccess::setMetadata,
                          SetMetadataRequest(s.f).withClientLastModified(time));
             EXPECT_EQ(s.owner.stat(s.f).getClientLastModified(), time);
             EXPECT_EQ(s.owner.list(s.folder).getFiles().at(0).getClientLastModified(), time);
         }
         EXPECT_EQ(s.owner.read(s.f), "1");
     }},
    {"files.bucket.isHeeded",
     [](Scene& s) {
         const Resource theirs(s.folder.getPath(), s.guest().user().bucket);
         s.guest().makeFolder(theirs);
         s.guest().write(theirs / u"f", "guest");
         s.owner.write(s.f, "owner");
         EXPECT_EQ(s.owner.read(s.f), "owner");
         EXPECT_EQ(s.guest().read(theirs / u"f"), "guest");
         EXPECT_EQ(codeOf([&] { s.guest().read(s.f); }), Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(codeOf([&] { s.guest().remove(s.f); }), Code::RESOURCE_NOT_FOUND);
         EXPECT_EQ(s.guest().tree(theirs), "f=guest ");
         s.guest().removeFolder(theirs, true);
     }},
    {"paths.names.areKeptExactly",
     [](Scene& s) {
         const auto& names = s.transport.oddNames;
         for (const std::u16string& name : names) {
             s.owner.makeFolder(s.at(name));
             s.owner.write(s.at(name) / name, toUtf8(name));
         }
         std::set<std::u16string> listed;
         for (const FolderSummary& folder : s.owner.list(s.folder).getFolders()) {
             listed.insert(folder.getName());
         }
         EXPECT_EQ(listed, std::set<std::u16string>(names.begin(), names.end()));
         for (const std::u16string& name : names) {
             EXPECT_EQ(s.owner.stat(s.at(name) / name).getName(), name);
             EXPECT_EQ(s.owner.tree(s.at(name)), toUtf8(name) + '=' + toUtf8(name) + ' ');
         }
     }},
    {"paths.depth.fiftyLevels",
     [](Scene& s) {
         Resource deep = s.folder;
         for (int level = 0; level < 50; ++level) {
             deep = deep / u"level";
             s.owner.makeFolder(deep);
         }
         s.owner.write(deep / u"f", "deep");
         EXPECT_EQ(s.owner.read(deep / u"f"), "deep");
         s.owner.move(s.at(u"level"), s.at(u"moved"));
         EXPECT_EQ(codeOf([&] { s.owner.read(deep / u"f"); }), Code::RESOURCE_NOT_FOUND);
     }},
    {"downloads.string.isTheContentAsItWas",
     [](Scene& s) {
         s.owner.write(s.f, bytes(300'000));
         const FileDownloadRequest request(locate(s, s.f));
         s.owner.write(s.f, "now");
         EXPECT_TRUE(
             download(s, FileDownloadRequest(request).withReadIntoString(true)).getStringBody() ==
             bytes(300'000));
     }},
    {"downloads.stream.isTheContent",
     [](Scene& s) {
         s.owner.write(s.f, bytes(300'000));
         std::string taken;
         bool ended = false;
         const auto request = FileDownloadRequest(locate(s, s.f)).withStreamFactory([&] {
             return std::make_unique<Sink>(taken, ended);
         });
         EXPECT_EQ(download(s, request).getStringBody(), "");
         EXPECT_TRUE(ended) << "the stream must go before the call completes";
         EXPECT_TRUE(taken == bytes(300'000));
     }},
};

}  // namespace storage::kvxconformance
