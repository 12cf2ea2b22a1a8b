// Follows changes: each response carries the watermark for the next request.

#include <iostream>

#include "ExampleStore.h"

using namespace storage::kvxclient;

int main() {
    const auto store = example::openStore();
    const auto client = example::newUser(*store, u"anna");
    const auto files = client->createFileAccess();
    const auto changes = client->createNotification();

    std::string watermark;
    const auto print = [&](const char* title) {
        const auto news =
            changes->listFileChanges(FileChangeListRequest().withWatermark(watermark));
        watermark = news.getCurrentWatermark();
        std::cout << title << ':';
        for (const auto& change : news.getFileChanges()) {
            std::cout << ' ' << change.getResource().getAsciiPercentEncodedPath();
        }
        std::cout << '\n';
    };

    print("at first");
    example::write(*files, Resource(u"/a.txt", u"anna"), "a");
    example::write(*files, Resource(u"/b.txt", u"anna"), "b");
    print("written");
    print("nothing new");
    files->deleteFile(Resource(u"/a.txt", u"anna"));
    print("deleted");
}
