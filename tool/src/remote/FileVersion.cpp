#include "remote/FileVersion.h"

#include "remote/RemoteTree.h"
#include "ui/Failure.h"

namespace storage::kvxtool {

kvxclient::VersionSummary findVersion(const kvxclient::IVersioning& versions,
                                      const RemoteName& name, const std::string& labelOrId) {
    for (const auto& version : versions.listVersions({name.resource()}).getVersions()) {
        if (version.getVersionId() == labelOrId ||
            std::to_string(version.getVersionLabel()) == labelOrId) {
            return version;
        }
    }
    throw Failure(ExitCode::NOT_FOUND, name.text(), "it has no version " + labelOrId);
}

void requireFile(const kvxclient::FileAccess& files, const RemoteName& name) {
    if (readEntry(files, name).folder) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it is a folder");
    }
}

}  // namespace storage::kvxtool
