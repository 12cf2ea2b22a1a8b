#include "operations/Operations.h"

#include "core/Text.h"
#include "namespace/FileVersions.h"

namespace storage::kvxstore::operations {

/// Lists from the oldest version to the current one.
VersionListResponse listVersions(const Context& context, const VersionListRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    Node version = path.node(Kind::FILE);
    const auto rows = context.database.query(
        "select label, created from versions where node = $1 order by label", {version.id});
    return VersionListResponse()
        .withName(toUtf16(version.name))
        .withVersions(collect(rows, [&](const auto& row) {
            version.label = row.integer(0);
            return VersionSummary()
                .withVersionId(versionIdOf(version))
                .withVersionLabel(static_cast<int>(version.label))
                .withCreated(toTime(row.integer(1)));
        }));
}

/// Makes an earlier content the current one, without copying a byte. It gets a new label in any
/// case; createNewVersion decides, as for every write, whether the replaced content is kept.
VersionRestoreResponse restoreVersion(const Context& context,
                                      const VersionRestoreRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Content content = findVersion(context, path.node(Kind::FILE, Right::WRITE),
                                        request.getVersionId(), request.getVersionLabel());
    const Node file =
        revise(context, path, content.size, request.getCreateNewVersion(), content.id);
    addVersion(context, file, content);
    return VersionRestoreResponse()
        .withVersionId(versionIdOf(file))
        .withVersionLabel(static_cast<int>(file.label));
}

}  // namespace storage::kvxstore::operations
