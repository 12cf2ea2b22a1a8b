#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "ui/Prompt.h"

namespace storage::kvxtool {
namespace {

void remove(const kvxclient::FileAccess& files, const RemoteName& name, bool isFolder) {
    if (isFolder) {
        kvxclient::FolderDeleteRequest request(name.resource());
        files.deleteFolder(std::move(request.withForceRecursive(true)));
    } else {
        files.deleteFile({name.resource()});
    }
}

void rm(const Session& session, Invocation& invocation, const RemoteName& name) {
    const bool force = invocation.has("--force");
    if (name.isRoot()) {
        throw Failure(ExitCode::REFUSED, name.text(), "the root of a bucket cannot be removed");
    }
    const std::optional<RemoteEntry> entry =
        force ? findEntry(session.files(), name) : readEntry(session.files(), name);
    if (!entry) {
        if (const std::string hint = RemoteName::wildcardHint(name.text()); !hint.empty()) {
            invocation.diagnostics.warn(name.text(), "nothing to remove" + hint);
        }
        return;
    }
    if (entry->folder && !invocation.has("--recursive")) {
        throw Failure(ExitCode::CONFLICT, name.text(),
                      "it is a folder: -r removes it with all it has");
    }
    const char* const extent = entry->folder ? " with all it has?" : "?";
    if (force || confirm("remove " + name.text() + extent)) {
        remove(session.files(), name, entry->folder);
        reportAction(invocation.out, "removed", name);
    }
}

}  // namespace

Command rmCommand() {
    return {
        .name = "rm",
        .summary = "Remove files and folders",
        .group = "Files",
        .options = {remoteNames(), flag("-r,--recursive", "Remove folders with all they have"),
                    flag("-f,--force", "Do not ask, and do not mind what is missing")},
        .notes =
            R"(Asks before each name when standard input is a terminal. All versions of a file go with it,
and nothing brings them back.)",
        .examples = {"kvx rm /docs/a.txt", "kvx rm -rf team:/archive/2025"},
        .run = forEachRemoteName(rm)};
}

}  // namespace storage::kvxtool
