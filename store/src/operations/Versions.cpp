#include "operations/Versions.h"

#include "core/Text.h"
#include "namespace/FileVersions.h"

namespace storage::kvxstore::operations {

kvxclient::VersionListResponse listVersions(const Context& context,
                                            const kvxclient::VersionListRequest& request) {
    const Place place = locate(context, request.getResource());
    Node version = place.node(Kind::FILE);
    const auto rows = context.database.query(
        "select label, created from versions where node = $1 order by label", {version.id});
    std::vector<kvxclient::VersionSummary> versions;
    while (rows->next()) {
        version.label = rows->integer(0);
        versions.push_back(kvxclient::VersionSummary()
                               .withVersionId(versionIdOf(version))
                               .withVersionLabel(static_cast<int>(version.label))
                               .withCreated(toTime(rows->integer(1))));
    }
    return kvxclient::VersionListResponse()
        .withName(toUtf16(version.name))
        .withVersions(std::move(versions));
}

kvxclient::VersionRestoreResponse restoreVersion(const Context& context,
                                                 const kvxclient::VersionRestoreRequest& request) {
    const Place place = locate(context, request.getResource());
    const Content content = findVersion(context, place.node(Kind::FILE, Right::WRITE),
                                        request.getVersionId(), request.getVersionLabel());
    const Node file = revise(context, place, content.size, request.getCreateNewVersion());
    addVersion(context, file, content);
    return kvxclient::VersionRestoreResponse()
        .withVersionId(versionIdOf(file))
        .withVersionLabel(static_cast<int>(file.label));
}

}  // namespace storage::kvxstore::operations
