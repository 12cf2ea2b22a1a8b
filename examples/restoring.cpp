// Keeps versions of a file in the store and restores the first.

#include <iostream>

#include "ExampleStore.h"

using namespace storage::kvxclient;

int main() {
    const auto store = example::openStore();
    const auto client = example::newUser(*store, u"anna");
    const auto files = client->createFileAccess();
    const auto versions = client->createVersioning();
    const Resource report(u"/report.txt", u"anna");

    for (const std::string text : {"draft\n", "review\n", "final\n"}) {
        FileCreateRequest request(report);
        request.withCreateNewVersion(true).appendContent(text.data(), text.size());
        files->createFile(std::move(request));
    }
    for (const auto& version : versions->listVersions(report).getVersions()) {
        std::cout << "version " << version.getVersionLabel() << '\n';
    }
    versions->restoreVersion(
        VersionRestoreRequest(report).withVersionLabel(1).withCreateNewVersion(true));
    std::cout << example::read(*files, report);
}
