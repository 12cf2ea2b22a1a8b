#include "remote/FileVersion.h"

#include "ui/Failure.h"

namespace storage::kvxtool {

kvxclient::VersionSummary findVersion(const Session& session, const RemoteName& name,
                                      const std::string& labelOrId) {
    for (const auto& version : session.versions().listVersions({name.resource()}).getVersions()) {
        if (version.getVersionId() == labelOrId ||
            std::to_string(version.getVersionLabel()) == labelOrId) {
            return version;
        }
    }
    throw Failure(ExitCode::NOT_FOUND, name.text(), "it has no version " + labelOrId);
}

}  // namespace storage::kvxtool
