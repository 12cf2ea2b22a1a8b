#include <storage/kvxclient/Resource.h>

#include <algorithm>

#include "library/Peers.h"
#include "library/Rows.h"

namespace bench {

namespace {

using storage::kvxclient::Resource;

std::u16string repeatTo(std::size_t units, const std::u16string& text) {
    std::u16string result;
    while (result.size() < units) {
        result += text;
    }
    result.resize(units);
    return result;
}

// Not inlined, as no call of a library is.
[[gnu::noinline]] std::string copy(const std::string& text) { return text; }

Contestant copyOf(const std::string& answer) {
    return asMark(timed(
        "copying the answer", [answer] { keep(copy(answer)); }, roundTime));
}

// A mark that takes as long as the rate says, whatever the machine does.
Contestant rate(double gigabytesPerSecond, const std::u16string& text) {
    const double time = static_cast<double>(text.size() * sizeof(char16_t)) / gigabytesPerSecond;
    return {"4 GB/s of UTF-16", [time] { return time; }, true};
}

Row pathRow(const std::string& kind, const std::u16string& path, std::vector<Goal> goals) {
    const Resource resource(path, u"bucket");
    return {
        "Percent-encoded path",
        kind + " path of " + std::to_string(path.size()) + " units",
        "path",
        {timed(
             "kvxclient", [resource] { keep(resource.getAsciiPercentEncodedPath()); }, roundTime),
         timed(
             "libcurl", [path] { keep(peers::curlEscape(path)); }, roundTime),
         timed(
             "GLib", [path] { keep(peers::glibEscape(path)); }, roundTime),
         timed(
             "QUrl", [path] { keep(peers::qtEscape(path)); }, roundTime),
         timed(
             "ICU and a string stream", [path] { keep(peers::icuStreamEscape(path)); }, roundTime),
         copyOf(resource.getAsciiPercentEncodedPath())},
        std::move(goals)};
}

Row longPathRow(std::size_t units) {
    const std::u16string path = repeatTo(units, u"/Documents/Projects/report_2026.txt");
    // No gate: a slow machine is no fault.
    Row row = pathRow("ASCII", path, {{Goal::TIMES_AS_FAST, 1, "4 GB/s of UTF-16", false}});
    row.contestants.push_back(rate(4, path));
    return row;
}

Row bucketRow(const std::u16string& bucket) {
    // Copying a text that is not ASCII leaves out all the work that there is.
    const bool ascii =
        std::all_of(bucket.begin(), bucket.end(), [](auto unit) { return unit < 0x80; });
    const Resource resource(u"/", bucket);
    return {"UTF-8 bucket",
            "bucket of " + std::to_string(bucket.size()) + " units",
            "bucket",
            {timed(
                 "kvxclient", [resource] { keep(resource.getUTF8Bucket()); }, roundTime),
             timed(
                 "ICU", [bucket] { keep(peers::icuUtf8(bucket)); }, roundTime),
             timed(
                 "utfcpp", [bucket] { keep(peers::utfcppUtf8(bucket)); }, roundTime),
             copyOf(resource.getUTF8Bucket())},
            {{Goal::TIMES_AS_FAST, 2, "ICU"},
             {Goal::TIMES_THE_TIME, 1.35, "copying the answer", ascii}}};
}

}  // namespace

std::vector<Row> encodingRows() {
    return {pathRow("ASCII", u"/Documents/Projects 2026/report_final.txt",
                    {{Goal::TIMES_AS_FAST, 10, "libcurl"},
                     // On some processors between 4.7 and 5.6 times, so about half the goal.
                     {Goal::TIMES_AS_FAST, 10, "GLib", false},
                     {Goal::TIMES_AS_FAST, 7, "QUrl"},
                     {Goal::TIMES_AS_FAST, 15, "ICU and a string stream"},
                     {Goal::TIMES_THE_TIME, 2.2, "copying the answer"}}),
            pathRow("European", u"/Überblick/Größe/Éléments où ça gèle.txt",
                    {{Goal::TIMES_AS_FAST, 4, ""}}),
            pathRow("CJK", u"/文档/项目报告/二〇二六年度总结最终版本.txt",
                    {{Goal::TIMES_AS_FAST, 4, ""}}),
            pathRow("Emoji", u"/😀😃😄/🎉🎊🎈🎁/🚀🛰.png",
                    {{Goal::TIMES_AS_FAST, 2, ""}}),
            longPathRow(4096),
            longPathRow(65536),
            bucketRow(u"max"),
            bucketRow(u"photographs"),
            bucketRow(u"Büro-Köln"),
            bucketRow(u"the-shared-bucket-of-the-whole-team-2026")};
}

}  // namespace bench
