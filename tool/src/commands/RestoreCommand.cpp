#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"

namespace storage::kvxtool {
namespace {

void restore(const Session& session, Invocation& invocation) {
    const RemoteName name = RemoteName::parse(invocation.text("REMOTE"));
    requireFile(session.files(), name);
    const auto version = findVersion(session.versions(), name, invocation.text("VERSION"));
    kvxclient::VersionRestoreRequest request(name.resource());
    request.withVersionId(version.getVersionId())
        .withCreateNewVersion(!invocation.has("--replace"));
    const auto restored = session.versions().restoreVersion(std::move(request));
    kvxclient::SetMetadataRequest time(name.resource());
    session.files().setMetadata(std::move(time.withClientLastModified(version.getCreated())));
    invocation.out.remark({{"name", name.text()},
                           {"label", restored.getVersionLabel()},
                           {"id", restored.getVersionId()}},
                          "restored as version " + std::to_string(restored.getVersionLabel()));
}

}  // namespace

Command restoreCommand() {
    return {
        .name = "restore",
        .summary = "Make a version the content of its file again",
        .group = "Versions",
        .options = {argument("REMOTE", "A file in the store"),
                    argument("VERSION", "Label or id, as kvx versions lists it"),
                    flag("--replace", "Do not keep the present content as a version")},
        .notes =
            R"(The restored content is a new version, and has as its modification time the one at which
the old version was made.)",
        .examples = {"kvx restore /docs/a.txt 3"},
        .run = inSession(restore, "REMOTE")};
}

}  // namespace storage::kvxtool
