#include <storage/kvxclient/FolderListing.h>

#include <memory>
#include <tuple>

#include "library/Rows.h"

namespace bench {

namespace {

using namespace storage::kvxclient;

// No gate: reading the records is nearly all there is to do, so that the memory decides.
constexpr bool isGate = false;
constexpr std::size_t summaryCount = 100'000;
constexpr std::size_t listingCount = 10'000;

std::u16string wide(const std::string& text) { return {text.begin(), text.end()}; }

// The fields of a FileSummary, compared one after the other.
struct PlainSummary {
    explicit PlainSummary(const FileSummary& summary)
        : name(summary.getName()),
          size(summary.getSize()),
          created(summary.getCreated()),
          lastModified(summary.getLastModified()),
          clientLastModified(summary.getClientLastModified()),
          writable(summary.isWritable()),
          watermark(summary.getWatermark()) {}

    bool operator==(const PlainSummary& other) const { return tied() == other.tied(); }

    // Reads one byte of each cache line of the record and, when asked to, of what it points to.
    unsigned touch(bool texts) const {
        unsigned sum = touch(this, sizeof *this);
        if (texts) {
            sum += touch(name.data(), name.size() * sizeof(char16_t));
            sum += touch(watermark.data(), watermark.size());
        }
        return sum;
    }

private:
    static unsigned touch(const void* memory, std::size_t size) {
        const auto* const bytes = static_cast<const volatile unsigned char*>(memory);
        unsigned sum = bytes[size - 1];
        for (std::size_t at = 0; at < size; at += 64) {
            sum += bytes[at];
        }
        return sum;
    }

    std::tuple<const std::u16string&, const std::string&, const unsigned long&,
               const std::chrono::system_clock::time_point&,
               const std::chrono::system_clock::time_point&,
               const std::chrono::system_clock::time_point&, const bool&>
    tied() const {
        return std::tie(name, watermark, size, created, lastModified, clientLastModified, writable);
    }

    std::u16string name;
    unsigned long size;
    std::chrono::system_clock::time_point created;
    std::chrono::system_clock::time_point lastModified;
    std::chrono::system_clock::time_point clientLastModified;
    bool writable;
    std::string watermark;
};

std::vector<FileSummary> summaries(unsigned long size, const std::u16string& suffix) {
    std::vector<FileSummary> result;
    for (std::size_t i = 0; i < summaryCount; ++i) {
        result.push_back(
            FileSummary(u"Photograph of the summer " + wide(std::to_string(i)) + suffix)
                .withSize(size)
                .withWatermark("watermark-" + std::to_string(i)));
    }
    return result;
}

// Several calls a round: the first one finds the caches full of another contestant's records.
double longRoundTime() { return 10 * roundTime; }

template <class Summary>
struct Sides {
    std::vector<Summary> left, right;
};

template <class Summary, class Work>
Contestant overPairs(const std::string& name, const std::vector<FileSummary>& left,
                     const std::vector<FileSummary>& right, Work work) {
    const auto sides = std::make_shared<Sides<Summary>>(
        Sides<Summary>{{left.begin(), left.end()}, {right.begin(), right.end()}});
    return timed(
        name,
        [sides, work] {
            std::size_t sum = 0;
            for (std::size_t i = 0; i < sides->left.size(); ++i) {
                sum += work(sides->left[i], sides->right[i]);
            }
            keep(sum);
        },
        longRoundTime(), summaryCount);
}

Row equalityRow(const std::string& name, const std::vector<FileSummary>& right,
                std::vector<Goal> goals) {
    const auto left = summaries(1, u".jpg");
    const bool texts = left == right;
    const auto same = [](const auto& a, const auto& b) { return a == b; };
    const auto touched = [texts](const PlainSummary& a, const PlainSummary& b) {
        return a.touch(texts) + b.touch(texts);
    };
    return {"Records",
            name,
            "comparison",
            {overPairs<FileSummary>("kvxclient", left, right, same),
             overPairs<PlainSummary>("std::tie", left, right, same),
             asMark(overPairs<PlainSummary>("reading what must be read", left, right, touched))},
            std::move(goals)};
}

struct ByGetters {
    bool operator()(const ResourceAndFolderList& a, const ResourceAndFolderList& b) const {
        return a.getParentResource().getPath() < b.getParentResource().getPath();
    }
};

using Listings = std::vector<ResourceAndFolderList>;

// Folders of one tree, in an order that is not theirs.
Listings listings() {
    Listings result;
    for (std::size_t i = 0; i < listingCount; ++i) {
        const std::string number = std::to_string(i * 7919 % listingCount);
        result.emplace_back(Resource(u"/Documents/Projects/folder " + wide(number), u"bucket"));
    }
    return result;
}

template <class Set>
void findAll(const Set& set, const Listings& all) {
    std::size_t found = 0;
    for (const auto& listing : all) {
        found += set.count(listing);
    }
    keep(found);
}

void throughResponse(const Listings& all) {
    MultiFolderListResponse response;
    for (const auto& listing : all) {
        response.add(listing);
    }
    findAll(response.getFolders(), all);
}

void throughGetters(const Listings& all) {
    std::set<ResourceAndFolderList, ByGetters> set;
    for (const auto& listing : all) {
        set.insert(listing);
    }
    findAll(std::set<ResourceAndFolderList, ByGetters>(set), all);  // The response gives a copy.
}

}  // namespace

std::vector<Row> recordRows() {
    const auto all = std::make_shared<Listings>(listings());
    return {equalityRow("100,000 equal file summaries", summaries(1, u".jpg"),
                        {{Goal::TIMES_AS_FAST, 1.8, "std::tie"}}),
            equalityRow("100,000 file summaries with names of other lengths",
                        summaries(1, u".jpeg"), {{Goal::TIMES_AS_FAST, 4, "std::tie", isGate}}),
            equalityRow("100,000 file summaries with other sizes alone", summaries(2, u".jpg"),
                        {{Goal::TIMES_AS_FAST, 4, "std::tie", isGate}}),
            {"Records",
             "inserting and finding 10,000 listings",
             "listing",
             {timed(
                  "kvxclient", [all] { throughResponse(*all); }, roundTime, listingCount),
              timed(
                  "comparing through the getters", [all] { throughGetters(*all); }, roundTime,
                  listingCount)},
             {{Goal::TIMES_AS_FAST, 2, "comparing through the getters"}}}};
}

}  // namespace bench
