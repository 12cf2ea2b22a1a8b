#include <unistd.h>

#include "RawDatabase.h"
#include "StoreFixture.h"

namespace storage::kvxstore {
namespace {

/// "done", "refused", or the cause of an internal error.
std::string outcomeOf(const std::function<void()>& action) {
    std::string outcome = "refused";
    const std::string cause = causeOf([&] {
        action();
        outcome = "done";
    });
    return cause.empty() ? outcome : cause;
}

/// A store with the file /a/b/f, open for writing, and an accepted invitation to /a/b.
struct SharedTree {
    TemporaryFolder folder;
    std::shared_ptr<Store> store = Store::open(folder.url());
    Account owner{*store, store->createUser({.name = u"main"})};
    Account guest{*store, store->createUser({.name = u"guest"})};
    std::string invitation;
    std::optional<OpenFile> file;

    SharedTree() {
        store->createBucket(u"second", u"main");
        owner.makeFolder(u"/a");
        owner.makeFolder(u"/a/b");
        owner.put(u"/a/b/f", "content");
        invitation = owner.sharing->createInvitation(InvitationCreateRequest({u"/a/b", u""}))
                         .getInvitation()
                         .getInvitationId();
        guest.sharing->updateInvitation(InvitationUpdateRequest()
                                            .withInvitationId(invitation)
                                            .withStatus(InvitationStatus::ACCEPTED));
        file.emplace(owner, u"/a/b/f");
    }

    void listChanges(const Account& user) const {
        user.notification->listFileChanges(FileChangeListRequest());
    }
};

TEST(DamagedTreesTest, FoldersInACircleAreToldAndHoldUpNothing) {
    using Tree = const SharedTree&;
    // A node in a circle by itself, one in a circle with its child, and a root.
    const std::string self = "the folder \"a\" lies below itself";
    const std::string pair = "lies below itself";
    const std::string root = "the root of the bucket \"main\" lies in another folder";
    const std::string below = "lies below itself";
    const std::string circles[] = {
        "update nodes set parent = id where name = 'a'",
        "update nodes set parent = (select id from nodes where name = 'b') where name = 'a'",
        "update nodes set parent = (select id from nodes where name = 'a') where name = 'main'",
    };
    struct {
        const char* name;
        std::function<void(Tree)> run;
        std::string outcomes[3];
    } const operations[] = {
        {"list", [](Tree t) { t.owner.list(u"/"); }, {"done", "done", root}},
        {"list of a folder in it",
         [](Tree t) { t.owner.list(u"/a"); },
         {"refused", "refused", root}},
        {"list of a tree",
         [](Tree t) {
             t.owner.files->listMultiFolder(MultiFolderListRequest({u"/", u""}));
         },
         {"done", "done", root}},
        {"changes", [](Tree t) { t.listChanges(t.owner); }, {self, pair, below}},
        {"changes for the guest", [](Tree t) { t.listChanges(t.guest); }, {self, pair, below}},
        {"copy", [](Tree t) { t.owner.copy(u"/a", u"/c"); }, {"refused", "refused", root}},
        {"move to another bucket",
         [](Tree t) {
             t.owner.files->move(MoveOrCopyRequest({u"/a", u""}, {u"/a", u"second"}));
         },
         {"refused", "refused", root}},
        {"move to a longer path",
         [](Tree t) { t.owner.move(u"/a/b", u"/longer"); },
         {"refused", "refused", root}},
        {"deletion",
         [](Tree t) { t.owner.removeFolder(u"/a", true); },
         {"refused", "refused", root}},
        {"write through a handle", [](Tree t) { t.file->write(0, "x"); }, {self, pair, below}},
        {"commit",
         [](Tree t) { t.file->close(FileHandleCloseOperation::COMMIT_CHANGES); },
         {"done", "done", "done"}},
        {"shared folders",
         [](Tree t) {
             t.guest.files->listFolder(FolderListRequest({u"/", u""}).withShowShared(true));
         },
         {self, pair, below}},
        {"invitations",
         [](Tree t) { t.guest.sharing->listInvitations(InvitationListRequest()); },
         {self, pair, below}},
        {"copy from an invitation",
         [](Tree t) {
             t.guest.sharing->copyFolderFromInvitation(InvitationCopyFolderRequest()
                                                           .withInvitationId(t.invitation)
                                                           .withTargetResource({u"/c", u""}));
         },
         {self, pair, below}},
        {"verify",
         [](Tree t) { EXPECT_NE(t.store->verify(), std::vector<std::string>()); },
         {"done", "done", "done"}},
        {"sweep", [](Tree t) { t.store->sweep(); }, {"done", "done", "done"}},
        {"removal of the owner",
         [](Tree t) {
             t.store->removeUser(u"main");
             t.store->sweep();
         },
         {"done", "done", "done"}},
    };
    ::alarm(120);
    for (std::size_t i = 0; i < std::size(circles); ++i) {
        const SharedTree tree;
        RawDatabase(tree.folder.file("store.db")).run(circles[i]);
        for (const auto& operation : operations) {
            const std::string outcome = outcomeOf([&] { operation.run(tree); });
            EXPECT_NE(outcome.find(operation.outcomes[i]), outcome.npos)
                << operation.name << " in circle " << i << ": " << outcome;
        }
    }
    ::alarm(0);
}

TEST(DamagedTreesTest, ACopyTellsThatAContentIsMissing) {
    const SharedTree tree;
    RawDatabase(tree.folder.file("store.db")).run("delete from versions");
    EXPECT_EQ(outcomeOf([&] { tree.owner.copy(u"/a", u"/c"); }),
              "the store is damaged: the file \"f\" has no content");
    EXPECT_EQ(tree.owner.list(u"/"), "a/");
}

}  // namespace
}  // namespace storage::kvxstore
