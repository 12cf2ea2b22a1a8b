#include <memory>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "ui/Prompt.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

using kvxclient::FileAccess;

void makeFolder(const FileAccess& files, const RemoteName& name, bool withParents,
                const Invocation& invocation) {
    const auto report = [&](const RemoteName& created) { invocation.report("created", created); };
    if (withParents) {
        createFolders(files, name, report);
    } else if (createFolder(files, name)) {
        report(name);
    } else {
        throw Failure(ExitCode::CONFLICT, name.text(), "it exists already");
    }
}

struct RemoveOptions {
    bool recursive = false;
    bool force = false;
};

void remove(const FileAccess& files, Diagnostics& diagnostics, const RemoteName& name,
            const RemoveOptions& options, const Invocation& invocation) {
    if (name.isRoot()) {
        throw Failure(ExitCode::REFUSED, name.text(), "the root of a bucket cannot be removed");
    }
    const std::optional<RemoteEntry> entry =
        options.force ? findEntry(files, name) : readEntry(files, name);
    if (!entry) {
        if (const std::string hint = RemoteName::wildcardHint(name.text()); !hint.empty()) {
            diagnostics.warn(name.text(), "nothing to remove" + hint);
        }
        return;
    }
    if (entry->folder && !options.recursive) {
        throw Failure(ExitCode::CONFLICT, name.text(),
                      "it is a folder: -r removes it with all it has");
    }
    const char* const extent = entry->folder ? " with all it has?" : "?";
    if (!options.force && !confirm("remove " + name.text() + extent)) {
        return;
    }
    if (entry->folder) {
        kvxclient::FolderDeleteRequest request(name.resource());
        files.deleteFolder(std::move(request.withForceRecursive(true)));
    } else {
        files.deleteFile({name.resource()});
    }
    invocation.report("removed", name);
}

}  // namespace

void addMkdirAndRm(CLI::App& program, Invocation& invocation) {
    auto parents = std::make_shared<bool>(false);
    CLI::App* mkdir = addForEachName(
        program, invocation, "mkdir", "Create folders",
        [parents, &invocation](const Session& session, Diagnostics&, const RemoteName& name) {
            makeFolder(session.files(), name, *parents, invocation);
        });
    mkdir->add_flag("-p,--parents", *parents,
                    "Create the folders above too; no error when it exists");
    mkdir->footer(
        "Examples:\n"
        "  kvx mkdir /docs\n"
        "  kvx mkdir -p team:/archive/2026/01");

    auto options = std::make_shared<RemoveOptions>();
    CLI::App* rm =
        addForEachName(program, invocation, "rm", "Remove files and folders",
                       [options, &invocation](const Session& session, Diagnostics& diagnostics,
                                              const RemoteName& name) {
                           remove(session.files(), diagnostics, name, *options, invocation);
                       });
    rm->add_flag("-r,--recursive", options->recursive, "Remove folders with all they have");
    rm->add_flag("-f,--force", options->force, "Do not ask, and do not mind what is missing");
    rm->footer(
        "Asks before each name when standard input is a terminal. All versions of a file go with "
        "it,\n"
        "and nothing brings them back.\n"
        "\n"
        "Examples:\n"
        "  kvx rm /docs/a.txt\n"
        "  kvx rm -rf team:/archive/2025");
}

}  // namespace storage::kvxtool
