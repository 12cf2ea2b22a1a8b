// Lists one folder, and a whole tree in one call.

#include <iostream>

#include "ExampleStore.h"

using namespace storage::kvxclient;

namespace {

std::string utf8(const std::u16string& text) { return Resource(u"", text).getUTF8Bucket(); }

}  // namespace

int main() {
    const auto store = example::openStore();
    const auto client = example::newUser(*store, u"anna");
    const auto files = client->createFileAccess();
    for (const auto* path : {u"/music", u"/music/jazz", u"/music/rock"}) {
        files->createFolder(Resource(path, u"anna"));
    }
    example::write(*files, Resource(u"/music/list.txt", u"anna"), "two folders\n");
    example::write(*files, Resource(u"/music/.hidden", u"anna"), "");
    example::write(*files, Resource(u"/music/jazz/blå.ogg", u"anna"), "la la la");

    const auto listing =
        files->listFolder(FolderListRequest(Resource(u"/music", u"anna")).withShowHidden(true));
    for (const auto& folder : listing.getFolders()) {
        std::cout << utf8(folder.getName()) << "/\n";
    }
    for (const auto& file : listing.getFiles()) {
        std::cout << utf8(file.getName()) << ' ' << file.getSize() << '\n';
    }

    // The listings are ordered by path.
    const auto tree = files->listMultiFolder(Resource(u"/music", u"anna"));
    for (const auto& folder : tree.getFolders()) {
        std::cout << utf8(folder.getParentResource().getPath()) << ": " << folder.getFiles().size()
                  << " files\n";
    }
}
