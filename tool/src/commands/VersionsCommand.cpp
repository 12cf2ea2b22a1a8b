#include <nlohmann/json.hpp>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// Only an open file tells the size of a version.
unsigned long versionSize(const kvxclient::FileAccess& files, const RemoteName& name,
                          const kvxclient::VersionSummary& version) {
    kvxclient::FileHandleReadOnlyCreateRequest request(name.resource());
    request.withVersionId(version.getVersionId());
    const auto opened = files.createReadOnlyFileHandle(std::move(request));
    kvxclient::FileHandleCloseRequest close(name.resource());
    close.withFileHandleId(opened.getFileHandleId())
        .withOperation(kvxclient::FileHandleCloseOperation::ABORT_CHANGES)
        .withCreateNewVersion(false);
    files.closeFileHandle(std::move(close));
    return opened.getFileSize();
}

void printVersion(const Output& out, const kvxclient::VersionSummary& version, unsigned long size,
                  bool isCurrent) {
    const std::string label = std::to_string(version.getVersionLabel());
    out.print({{"label", version.getVersionLabel()},
               {"id", version.getVersionId()},
               {"created", utcTime(version.getCreated())},
               {"size", size},
               {"current", isCurrent}},
              label + "  " + version.getVersionId() + "  " + shortTime(version.getCreated()) +
                  "  " + std::to_string(size) + (isCurrent ? "  current" : ""));
}

void versions(const Session& session, Invocation& invocation) {
    const RemoteName name = RemoteName::parse(invocation.text("REMOTE"));
    requireFile(session.files(), name);
    const std::vector<kvxclient::VersionSummary> all =
        session.versions().listVersions({name.resource()}).getVersions();
    for (const kvxclient::VersionSummary& version : all) {
        printVersion(invocation.out, version, versionSize(session.files(), name, version),
                     &version == &all.back());
    }
}

}  // namespace

Command versionsCommand() {
    return {
        .name = "versions",
        .summary = "List the versions of a file",
        .group = "Versions",
        .options = {argument("REMOTE", "A file in the store")},
        .notes =
            R"(Prints label, id, time and size of each version, the current one last. A write keeps the
old content as a version unless kvx policy set --versions disabled says otherwise.
kvx get --version gets one. Old versions go only with their file: remove it and put it
again.)",
        .examples = {"kvx versions /docs/a.txt"},
        .run = inSession(versions, "REMOTE")};
}

}  // namespace storage::kvxtool
