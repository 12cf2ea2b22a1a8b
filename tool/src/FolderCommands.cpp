#include <memory>
#include <vector>

#include "Commands.h"
#include "RemoteTree.h"
#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtool {
namespace {

using kvxclient::FileAccess;
using kvxclient::KVXClientErrorCode;
using kvxclient::KVXClientException;

struct NamesAndFlag {
    std::vector<std::string> names;
    bool flag = false;
};

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

using Action = void (*)(const FileAccess&, const RemoteName&, bool);

/// Adds a command that does the same with each name and has one flag.
CLI::App* addCommand(CLI::App& program, Invocation& invocation, const std::string& name,
                     const std::string& description, const std::string& flag,
                     const std::string& flagDescription, const std::string& names, Action action) {
    auto options = std::make_shared<NamesAndFlag>();
    CLI::App* command = program.add_subcommand(name, description);
    command->add_option("REMOTE", options->names, names)->type_name("")->required();
    command->add_flag(flag, options->flag, flagDescription);
    command->callback([options, action, &invocation] {
        invocation.runInSession([options, action](const FileAccess& files,
                                                  Diagnostics& diagnostics) {
            for (const std::string& argument : options->names) {
                diagnostics.guard(
                    argument, [&] { action(files, RemoteName::parse(argument), options->flag); });
            }
        });
    });
    return command;
}

}  // namespace

void addMkdirAndRm(CLI::App& program, Invocation& invocation) {
    addCommand(program, invocation, "mkdir", "Create folders", "-p,--parents",
               "Create the folders above too; no error when it exists", "The folders", makeFolder)
        ->footer(
            "Examples:\n"
            "  kvx mkdir /docs\n"
            "  kvx mkdir -p team:/archive/2026/01");
    addCommand(program, invocation, "rm", "Remove files and folders", "-r,--recursive",
               "Remove folders with all they have", "The files and folders", remove)
        ->footer(
            "Examples:\n"
            "  kvx rm /docs/a.txt\n"
            "  kvx rm -r team:/archive/2025");
}

}  // namespace storage::kvxtool
