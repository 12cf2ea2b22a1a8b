// Lists the versions of a file and restores one, through a small transport of one's own.

#include <cstdlib>
#include <fstream>
#include <iostream>

#include "transport/NumberedBackups.h"

using namespace storage::kvxclient;

namespace {

void write(const std::filesystem::path& file, const char* text) { std::ofstream(file) << text; }

}  // namespace

int main() {
    std::string name = std::filesystem::temp_directory_path() / "kvx-example-XXXXXX";
    const std::filesystem::path folder = mkdtemp(name.data());
    write(folder / "report.~1~", "draft\n");
    write(folder / "report.~2~", "review\n");
    write(folder / "report", "final\n");
    {
        const storage::kvxtransport::DispatchingClient client(
            folder, example::BackupTransport(example::NumberedBackups(folder)));
        const auto service = client.createVersioning();
        const IVersioning& versions = *service;
        const Resource report(u"/report", u"");

        for (const auto& version : versions.listVersions(report).getVersions()) {
            std::cout << "version " << version.getVersionLabel() << '\n';
        }
        versions.restoreVersion(
            VersionRestoreRequest(report).withVersionId("1").withCreateNewVersion(true));
        std::cout << versions.listVersions(report).getVersions().size() << " versions\n";
        std::cout << std::ifstream(folder / "report").rdbuf();

        try {
            versions.listVersions(Resource(u"/../etc/passwd", u""));
        } catch (const KVXClientException& error) {
            std::cout << error.what() << '\n';
        }
    }
    std::filesystem::remove_all(folder);
}
