// The three forms of a call, and how each reports a failure.

#include <iostream>

#include "ExampleStore.h"

using namespace storage::kvxclient;

int main() {
    const auto store = example::openStore();
    const auto client = example::newUser(*store, u"anna");
    const auto files = client->createFileAccess();
    const Resource folder(u"/docs", u"anna");

    // Blocking: waits, and throws the failure.
    files->createFolder(folder);
    try {
        files->createFolder(folder);
    } catch (const KVXClientException& error) {
        std::cout << "blocking: " << error.what() << '\n';
    }

    // Future: several calls side by side; get() throws the failure.
    std::future<FolderListResponse> listing = files->listFolderAsync(folder);
    std::future<FileDeleteResponse> deletion = files->deleteFileAsync(Resource(u"/none", u"anna"));
    std::cout << "future: " << listing.get().getFiles().size() << " files\n";
    try {
        deletion.get();
    } catch (const KVXClientException& error) {
        std::cout << "future: " << error.what() << '\n';
    }

    // Callback: runs on a thread of the transport, with the response or with the failure.
    std::promise<std::string> seen;
    files->readFileAttributes(
        folder, [&seen](FileAttributesReadResponse response, std::exception_ptr error) {
            seen.set_value(error ? "failed" : response.getFileAttributes().getType());
        });
    std::cout << "callback: " << seen.get_future().get() << '\n';
}
