#include <iostream>
#include <memory>

#include "commands/Commands.h"
#include "remote/FileVersion.h"
#include "remote/RemoteTree.h"
#include "ui/Json.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// Only an open file tells the size of a version.
unsigned long sizeOf(const kvxclient::FileAccess& files, const RemoteName& name,
                     const kvxclient::VersionSummary& version) {
    kvxclient::FileHandleReadOnlyCreateRequest request(name.resource());
    request.withVersionId(version.getVersionId());
    const auto opened = files.createReadOnlyFileHandle(std::move(request));
    kvxclient::FileHandleCloseRequest close(name.resource());
    files.closeFileHandle(std::move(close.withFileHandleId(opened.getFileHandleId())));
    return opened.getFileSize();
}

void print(const kvxclient::VersionSummary& version, unsigned long size, bool current, bool json) {
    if (json) {
        printJson({{"label", version.getVersionLabel()},
                   {"id", version.getVersionId()},
                   {"created", utcTime(version.getCreated())},
                   {"size", size},
                   {"current", current}});
    } else {
        std::cout << version.getVersionLabel() << "  " << version.getVersionId() << "  "
                  << shortTime(version.getCreated()) << "  " << size << (current ? "  current" : "")
                  << '\n';
    }
}

void requireFile(const Session& session, const RemoteName& name) {
    if (readEntry(session.files(), name).folder) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it is a folder");
    }
}

void listVersions(const Session& session, const RemoteName& name, bool json) {
    requireFile(session, name);
    const auto versions =
        session.versions().listVersions(kvxclient::VersionListRequest(name.resource()));
    const auto all = versions.getVersions();
    for (const kvxclient::VersionSummary& version : all) {
        print(version, sizeOf(session.files(), name, version), &version == &all.back(), json);
    }
}

struct RestoreOptions {
    std::string name;
    std::string version;
    bool replace = false;
};

void restore(const Session& session, const RestoreOptions& options, const Invocation& invocation) {
    const RemoteName name = RemoteName::parse(options.name);
    requireFile(session, name);
    const kvxclient::VersionSummary version = findVersion(session, name, options.version);
    kvxclient::VersionRestoreRequest request(name.resource());
    request.withVersionId(version.getVersionId()).withCreateNewVersion(!options.replace);
    const auto restored = session.versions().restoreVersion(std::move(request));
    kvxclient::SetMetadataRequest time(name.resource());
    session.files().setMetadata(std::move(time.withClientLastModified(version.getCreated())));
    if (invocation.json) {
        printJson({{"name", name.text()},
                   {"label", restored.getVersionLabel()},
                   {"id", restored.getVersionId()}});
    } else if (!invocation.quiet) {
        std::cout << "restored as version " << restored.getVersionLabel() << '\n';
    }
}

void addVersions(CLI::App& program, Invocation& invocation) {
    auto name = std::make_shared<std::string>();
    CLI::App* command = program.add_subcommand("versions", "List the versions of a file");
    command->add_option("REMOTE", *name, "A file in the store")->type_name("")->required();
    command->footer(
        "Prints label, id, time and size of each version, the current one last. A write keeps the\n"
        "old content as a version unless kvx policy set --versions disabled says otherwise.\n"
        "kvx get --version gets one. Old versions go only with their file: remove it and put it\n"
        "again.\n"
        "\n"
        "Examples:\n"
        "  kvx versions /docs/a.txt");
    command->callback([name, &invocation] {
        invocation.runInSession(*name, [name, &invocation](const Session& session) {
            listVersions(session, RemoteName::parse(*name), invocation.json);
        });
    });
}

void addRestore(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<RestoreOptions>();
    CLI::App* command =
        program.add_subcommand("restore", "Make a version the content of its file again");
    command->add_option("REMOTE", options->name, "A file in the store")->type_name("")->required();
    command->add_option("VERSION", options->version, "Label or id, as kvx versions lists it")
        ->type_name("")
        ->required();
    command->add_flag("--replace", options->replace, "Do not keep the content of now as a version");
    command->footer(
        "The restored content is a new version, and has as its modification time the one at which\n"
        "the old version was made.\n"
        "\n"
        "Examples:\n"
        "  kvx restore /docs/a.txt 3");
    command->callback([options, &invocation] {
        invocation.runInSession(options->name, [options, &invocation](const Session& session) {
            restore(session, *options, invocation);
        });
    });
}

}  // namespace

void addVersionsAndRestore(CLI::App& program, Invocation& invocation) {
    addVersions(program, invocation);
    addRestore(program, invocation);
}

}  // namespace storage::kvxtool
