#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

/// The caller's changes in the scene's folder.
class Watcher {
public:
    Watcher(Scene& s, const Participant& who) : folder_(s.folder), who_(who) { next(); }

    /// Starts from the beginning.
    void forget() { watermark_.clear(); }

    /// Paths of what changed since the last time, folders with a slash, sorted.
    std::string next() {
        const auto response = who_.call(&Notification::listFileChanges,
                                        FileChangeListRequest().withWatermark(watermark_));
        watermark_ = response.getCurrentWatermark();
        EXPECT_FALSE(watermark_.empty());
        std::set<std::string> changed;
        collect(response.getFileChanges(), "", changed);
        collect(response.getFolderChanges(), "/", changed);
        std::string text;
        for (const std::string& path : changed) {
            text += path + ' ';
        }
        return text;
    }

private:
    void collect(const std::vector<FileChangeSummary>& items, const std::string& suffix,
                 std::set<std::string>& changed) const {
        const std::u16string start = folder_.getPath() + u'/';
        for (const FileChangeSummary& item : items) {
            EXPECT_FALSE(item.getWatermark().empty());
            const std::u16string path = item.getResource().getPath();
            if (item.getResource().getBucket() == folder_.getBucket() && path.starts_with(start)) {
                changed.insert(toUtf8(path.substr(start.size())) + suffix);
            }
        }
    }

    const Resource folder_;
    const Participant& who_;
    std::string watermark_;
};

}  // namespace

const Clauses changeClauses{
    {"changes.list.tellsEveryChange",
     [](Scene& s) {
         Watcher watcher(s, s.owner);
         s.owner.write(s.at(u"a"), "1");
         EXPECT_EQ(watcher.next(), "a ");
         s.owner.makeFolder(s.d);
         EXPECT_EQ(watcher.next(), "d/ ");
         s.owner.write(s.at(u"a"), "2");
         s.owner.copy(s.at(u"a"), s.at(u"b"));
         EXPECT_EQ(watcher.next(), "a b ");
         s.owner.call(&FileAccess::setMetadata, s.at(u"b"));
         EXPECT_EQ(watcher.next(), "b ");
     }},
    {"changes.watermark.leavesOutWhatWasTold",
     [](Scene& s) {
         Watcher watcher(s, s.owner);
         s.owner.write(s.at(u"a"), "1");
         EXPECT_EQ(watcher.next(), "a ");
         EXPECT_EQ(watcher.next(), "");
         s.owner.write(s.at(u"b"), "1");
         EXPECT_EQ(watcher.next(), "b ");
     }},
    {"changes.watermark.emptyIsTheBeginning",
     [](Scene& s) {
         Watcher watcher(s, s.owner);
         s.owner.makeFolder(s.d);
         s.owner.write(s.d / u"a", "1");
         s.owner.write(s.at(u"b"), "1");
         watcher.next();
         watcher.forget();
         EXPECT_EQ(watcher.next(), "b d/ d/a ");
     }},
    {"changes.list.tellsDeletions",
     [](Scene& s) {
         s.owner.write(s.at(u"a"), "1");
         s.owner.makeFolder(s.d);
         Watcher watcher(s, s.owner);
         s.owner.remove(s.at(u"a"));
         s.owner.removeFolder(s.d, false);
         EXPECT_EQ(watcher.next(), "a d/ ");
     }},
    {"changes.list.tellsBothEndsOfAMove",
     [](Scene& s) {
         s.owner.write(s.at(u"from"), "1");
         Watcher watcher(s, s.owner);
         s.owner.move(s.at(u"from"), s.at(u"to"));
         EXPECT_EQ(watcher.next(), "from to ");
     }},
    {"changes.list.tellsCommitsNotWrites",
     [](Scene& s) {
         Watcher watcher(s, s.owner);
         const std::string handle =
             s.owner.openToWrite(s.f, FileCreateMode::CREATE).getFileHandleId();
         s.owner.writeRange(s.f, handle, 0, "x");
         EXPECT_EQ(watcher.next(), "");
         s.owner.close(s.f, handle);
         EXPECT_EQ(watcher.next(), "f ");
     },
     {Capability::HANDLES}},
    {"changes.list.isTheCallersOwn",
     [](Scene& s) {
         Watcher watcher(s, s.guest());
         s.owner.write(s.at(u"secret"), "1");
         EXPECT_EQ(watcher.next(), "");
         watcher.forget();
         EXPECT_EQ(watcher.next(), "");
     }},
    {"changes.list.coversWhatIsShared",
     [](Scene& s) {
         s.owner.grant(s.folder, s.guest().name(), Operation::READ);
         Watcher watcher(s, s.guest());
         s.owner.write(s.at(u"shared"), "1");
         EXPECT_EQ(watcher.next(), "shared ");
     },
     {Capability::SHARING}},
};

}  // namespace storage::kvxconformance
