#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"

namespace storage::kvxtool {
namespace {

void makeFolder(const Session& session, Invocation& invocation, const RemoteName& name) {
    const auto report = [&](const RemoteName& created) {
        reportAction(invocation.out, "created", created);
    };
    if (invocation.has("--parents")) {
        createFolders(session.files(), name, report);
    } else if (createFolder(session.files(), name)) {
        report(name);
    } else {
        throw Failure(ExitCode::CONFLICT, name.text(), "it exists already");
    }
}

}  // namespace

Command mkdirCommand() {
    return {
        .name = "mkdir",
        .summary = "Create folders",
        .group = "Files",
        .options = {remoteNames(),
                    flag("-p,--parents", "Create the folders above too; no error when it exists")},
        .examples = {"kvx mkdir /docs", "kvx mkdir -p team:/archive/2026/01"},
        .run = forEachRemoteName(makeFolder)};
}

}  // namespace storage::kvxtool
