#include <memory>

#include "Commands.h"
#include "RemoteTree.h"

namespace storage::kvxtool {
namespace {

using kvxclient::FileAccess;

void makeFolder(const FileAccess& files, const RemoteName& name, bool withParents) {
    if (withParents) {
        createFolders(files, name);
    } else if (!createFolder(files, name)) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it exists already");
    }
}

void remove(const FileAccess& files, const RemoteName& name, bool recursive) {
    if (name.isRoot()) {
        throw Failure(ExitCode::REFUSED, name.text(), "the root of a bucket cannot be removed");
    }
    if (!readEntry(files, name).folder) {
        files.deleteFile({name.resource()});
    } else if (recursive) {
        kvxclient::FolderDeleteRequest request(name.resource());
        files.deleteFolder(std::move(request.withForceRecursive(true)));
    } else {
        throw Failure(ExitCode::CONFLICT, name.text(),
                      "it is a folder: -r removes it with all it has");
    }
}

}  // namespace

void addMkdirAndRm(CLI::App& program, Invocation& invocation) {
    auto parents = std::make_shared<bool>(false);
    CLI::App* mkdir =
        addForEachName(program, invocation, "mkdir", "Create folders",
                       [parents](const Session& session, Diagnostics&, const RemoteName& name) {
                           makeFolder(session.files(), name, *parents);
                       });
    mkdir->add_flag("-p,--parents", *parents,
                    "Create the folders above too; no error when it exists");
    mkdir->footer(
        "Examples:\n"
        "  kvx mkdir /docs\n"
        "  kvx mkdir -p team:/archive/2026/01");

    auto recursive = std::make_shared<bool>(false);
    CLI::App* rm =
        addForEachName(program, invocation, "rm", "Remove files and folders",
                       [recursive](const Session& session, Diagnostics&, const RemoteName& name) {
                           remove(session.files(), name, *recursive);
                       });
    rm->add_flag("-r,--recursive", *recursive, "Remove folders with all they have");
    rm->footer(
        "Examples:\n"
        "  kvx rm /docs/a.txt\n"
        "  kvx rm -r team:/archive/2025");
}

}  // namespace storage::kvxtool
