#include "Clauses.h"

namespace storage::kvxconformance {

const Clauses folderClauses{
    {"folders.list.tellsAll",
     [](Scene& s) {
         s.owner.makeFolder(s.d);
         s.owner.write(s.d / u"inner", "inner");
         s.owner.write(s.at(u"b"), "12");
         s.owner.write(s.at(u"a"), "1");
         EXPECT_EQ(s.owner.names(s.folder), "a b d/ ");
         const FolderListResponse listing = s.owner.list(s.folder);
         EXPECT_EQ(s.folder.getPath(), u"/" + listing.getFolderSummary().getName());
         const FolderSummary folder = listing.getFolders().at(0);
         EXPECT_TRUE(folder.isWritable());
         EXPECT_EQ(folder.getAccessType(), AccessType::OWNER);
         for (const FileSummary& file : listing.getFiles()) {
             EXPECT_EQ(file.getSize(), file.getName() == u"a" ? 1U : 2U);
             EXPECT_EQ(file.getLastModified(),
                       s.owner.stat(s.folder / file.getName()).getLastModified());
         }
     }},
    {"folders.list.hidesWhatIsHidden",
     [](Scene& s) {
         if (s.transport.hiddenName.empty()) {
             GTEST_SKIP() << "the service hides nothing";
         }
         s.owner.write(s.at(s.transport.hiddenName), "hidden");
         s.owner.write(s.at(u"shown"), "shown");
         EXPECT_EQ(s.owner.names(s.folder, false), "shown ");
         EXPECT_EQ(s.owner.list(s.folder, true).getFiles().size(), 2U);
         EXPECT_EQ(s.owner.read(s.at(s.transport.hiddenName)), "hidden");
     }},
    {"folders.list.isUpToDate",
     [](Scene& s) {
         EXPECT_EQ(s.owner.names(s.folder), "");
         s.owner.write(s.at(u"a"), "");
         EXPECT_EQ(s.owner.names(s.folder), "a ");
         s.owner.makeFolder(s.d);
         EXPECT_EQ(s.owner.names(s.folder), "a d/ ");
         s.owner.move(s.at(u"a"), s.at(u"b"));
         EXPECT_EQ(s.owner.names(s.folder), "b d/ ");
         s.owner.copy(s.at(u"b"), s.at(u"c"));
         s.owner.remove(s.at(u"b"));
         s.owner.removeFolder(s.d, false);
         EXPECT_EQ(s.owner.names(s.folder), "c ");
         EXPECT_EQ(s.another().names(s.folder), "c ") << "as another client sees it";
     }},
    {"folders.listMulti.tellsTheSubtree",
     [](Scene& s) {
         s.owner.makeFolder(s.d);
         s.owner.makeFolder(s.d / u"e");
         s.owner.write(s.d / u"e" / u"f", "1234");
         s.owner.write(s.g, "1");
         const auto listings = s.owner.call(&FileAccess::listMultiFolder, s.folder).getFolders();
         std::string found;
         for (const ResourceAndFolderList& listing : listings) {
             const Resource parent = listing.getParentResource();
             EXPECT_EQ(parent.getBucket(), s.folder.getBucket());
             found += toUtf8(parent.getPath().substr(s.folder.getPath().size())) + ':';
             for (const FolderSummary& folder : listing.getFolders()) {
                 found += toUtf8(folder.getName()) + "/ ";
             }
             for (const FileSummary& file : listing.getFiles()) {
                 found += toUtf8(file.getName()) + '=' + std::to_string(file.getSize()) + ' ';
             }
         }
         EXPECT_EQ(found, ":d/ g=1 /d:e/ /d/e:f=4 ");
     }},
    {"folders.delete.removesAnEmptyFolder",
     [](Scene& s) {
         s.owner.makeFolder(s.d);
         s.owner.makeFolder(s.at(u"e"));
         const auto summary = s.owner
                                  .call(&FileAccess::deleteFolder,
                                        FolderDeleteRequest(s.d).withForceRecursive(false))
                                  .getDeletedFolderSummary();
         if (summary) {
             EXPECT_EQ(summary->getParentResource(), s.folder);
         }
         EXPECT_EQ(s.owner.names(s.folder), "e/ ");
     }},
    {"folders.delete.forceRemovesAll",
     [](Scene& s) {
         s.owner.makeFolder(s.d);
         s.owner.makeFolder(s.d / u"e");
         s.owner.write(s.d / u"e" / u"f", "1");
         s.owner.removeFolder(s.d, true);
         EXPECT_EQ(s.owner.names(s.folder), "");
         EXPECT_EQ(codeOf([&] { s.owner.read(s.d / u"e" / u"f"); }), Code::RESOURCE_NOT_FOUND);
         s.owner.makeFolder(s.d);
         EXPECT_EQ(s.owner.names(s.d), "") << "a new folder holds nothing of the old one";
     }},
};

namespace {

void makeTree(Scene& s) {
    s.owner.makeFolder(s.at(u"from"));
    s.owner.makeFolder(s.at(u"from") / u"sub");
    s.owner.write(s.at(u"from") / u"sub" / u"f", "1");
    s.owner.write(s.at(u"from") / u"g", "2");
    s.owner.makeFolder(s.at(u"to"));
    s.owner.write(s.at(u"to") / u"old", "3");
}

}  // namespace

const Clauses relocationClauses{
    {"move.file.leavesNothingBehind",
     [](Scene& s) {
         makeTree(s);
         const FileAttributes before = s.owner.stat(s.at(u"from") / u"g");
         s.owner.move(s.at(u"from") / u"g", s.at(u"to") / u"h");
         EXPECT_EQ(s.owner.tree(s.folder), "from/ { sub/ { f=1 } } to/ { h=2 old=3 } ");
         EXPECT_EQ(s.owner.stat(s.at(u"to") / u"h").getCreated(), before.getCreated());
     }},
    {"move.folder.takesAllAlong",
     [](Scene& s) {
         makeTree(s);
         s.owner.move(s.at(u"from"), s.at(u"to") / u"new");
         EXPECT_EQ(s.owner.tree(s.folder), "to/ { new/ { g=2 sub/ { f=1 } } old=3 } ");
     }},
    {"move.overwritesWhenAsked",
     [](Scene& s) {
         makeTree(s);
         s.owner.move(s.at(u"from") / u"g", s.at(u"to") / u"old", true);
         EXPECT_EQ(s.owner.tree(s.folder), "from/ { sub/ { f=1 } } to/ { old=2 } ");
     }},
    {"copy.file.leavesTheSource",
     [](Scene& s) {
         makeTree(s);
         s.owner.copy(s.at(u"from") / u"g", s.at(u"to") / u"h");
         EXPECT_EQ(s.owner.tree(s.folder), "from/ { g=2 sub/ { f=1 } } to/ { h=2 old=3 } ");
     }},
    {"copy.folder.copiesAll",
     [](Scene& s) {
         makeTree(s);
         s.owner.copy(s.at(u"from"), s.at(u"to") / u"new");
         EXPECT_EQ(s.owner.tree(s.at(u"to")), "new/ { g=2 sub/ { f=1 } } old=3 ");
         EXPECT_EQ(s.owner.tree(s.at(u"from")), "g=2 sub/ { f=1 } ");
     }},
    {"copy.overwritesWhenAsked",
     [](Scene& s) {
         makeTree(s);
         s.owner.copy(s.at(u"from") / u"g", s.at(u"to") / u"old", true);
         EXPECT_EQ(s.owner.tree(s.folder), "from/ { g=2 sub/ { f=1 } } to/ { old=2 } ");
     }},
    {"copy.isIndependent",
     [](Scene& s) {
         makeTree(s);
         s.owner.copy(s.at(u"from"), s.at(u"copy"));
         s.owner.write(s.at(u"copy") / u"g", "changed");
         s.owner.remove(s.at(u"from") / u"sub" / u"f");
         EXPECT_EQ(s.owner.tree(s.at(u"from")), "g=2 sub/ { } ");
         EXPECT_EQ(s.owner.tree(s.at(u"copy")), "g=changed sub/ { f=1 } ");
     }},
};

}  // namespace storage::kvxconformance
