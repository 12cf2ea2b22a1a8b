#include <memory>

#include "Commands.h"
#include "RemoteTree.h"
#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtool {
namespace {

using kvxclient::FileAccess;
using kvxclient::KVXClientErrorCode;
using kvxclient::KVXClientException;

/// Creates a folder. Returns false when something of its name is there.
bool createFolder(const FileAccess& files, const RemoteName& name) {
    try {
        files.createFolder({name.resource()});
        return true;
    } catch (const KVXClientException& error) {
        if (error.getErrorCode() != KVXClientErrorCode::CONFLICT) {
            throw;
        }
        return false;
    }
}

/// Creates a folder and those above it, where they are missing.
void createFolders(const FileAccess& files, const RemoteName& name) {
    try {
        if (!createFolder(files, name)) {
            requireFolder(files, name);
        }
    } catch (const KVXClientException& error) {
        if (error.getErrorCode() != KVXClientErrorCode::PARENT_RESOURCE_NOT_FOUND) {
            throw;
        }
        createFolders(files, name.parent());
        createFolders(files, name);
    }
}

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
