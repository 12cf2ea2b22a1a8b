#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "transfer/Upload.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

namespace fs = std::filesystem;

struct PutOptions {
    std::vector<std::string> names;
    bool recursive = false;
    TransferOptions transfer;
};

/// The name that a local source has in a folder; empty for "." and "..", whose content goes there.
std::u16string sourceName(const std::string& source) {
    const fs::path path = fs::path(source).lexically_normal();
    const fs::path name = path.has_filename() ? path.filename() : path.parent_path().filename();
    if (name == "." || name == "..") {
        return {};
    }
    const std::optional<std::u16string> result = toUtf16(name.string());
    if (!result) {
        throw Failure(ExitCode::REFUSED, source, "the name is not valid UTF-8");
    }
    return *result;
}

void putStandardInput(Upload& upload, const RemoteTarget& target) {
    if (target.isFolder()) {
        throw Failure(ExitCode::USAGE, "-", "standard input needs the name of a file to go to");
    }
    LocalInput input = LocalInput::standardInput();
    upload.send(input, target.nameFor({}));
}

void addSource(Upload& upload, const std::string& source, const RemoteTarget& target,
               const PutOptions& options) {
    if (RemoteName::isRemote(source)) {
        throw Failure(ExitCode::USAGE, source,
                      "a local name is needed here: write ./ before a name with a colon");
    }
    const RemoteName name = target.nameFor(sourceName(source));
    if (!fs::is_directory(fs::status(source))) {
        upload.addFile(source, name);
    } else if (options.recursive) {
        upload.addTree(source, name);
    } else {
        throw Failure(ExitCode::CONFLICT, source, "it is a folder: -r puts it with all it has");
    }
}

void put(const kvxclient::FileAccess& files, Diagnostics& diagnostics, const PutOptions& options) {
    const RemoteName name = RemoteName::parse(options.names.back(), RemoteName::Form::WITH_COLON);
    const std::vector<std::string> sources(options.names.begin(), options.names.end() - 1);
    diagnostics.guard(name.text(), [&] {
        const RemoteTarget target(files, name, sources.size() > 1);
        Upload upload(files, diagnostics, options.transfer);
        std::set<std::u16string> taken;
        for (const std::string& source : sources) {
            diagnostics.guard(source, [&] {
                if (source == "-") {
                    putStandardInput(upload, target);
                } else if (!taken.insert(sourceName(source)).second) {
                    throw Failure(ExitCode::CONFLICT, source, "another source has this name");
                } else {
                    addSource(upload, source, target, options);
                }
            });
        }
        upload.run();
    });
}

}  // namespace

void addPut(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<PutOptions>();
    CLI::App* command = program.add_subcommand("put", "Put local files and folders into the store");
    command->add_option("NAMES", options->names, "LOCAL... REMOTE; - is standard input")
        ->type_name("")
        ->required()
        ->expected(-2);
    command->add_flag("-r,--recursive", options->recursive, "Put folders with all they have");
    addJobsOption(*command, options->transfer);
    command->footer(
        "A remote folder, or a name that ends in /, takes each source under its own name; several\n"
        "sources need a folder. A file that is there is replaced once the new one is complete,\n"
        "and kept as a version where the policy says so. A file that changes while it is read is\n"
        "not stored. Modification times go along.\n"
        "Links named on the command line are followed; links and special files (pipes, sockets,\n"
        "devices) inside folders are left out with a warning. Permissions are not kept.\n"
        "\n"
        "Examples:\n"
        "  kvx put report.pdf :/docs/\n"
        "  kvx put -r photos team:/archive\n"
        "  tar c src | kvx put - :/src.tar");
    command->callback([options, &invocation] {
        invocation.runInSession(
            [options, &invocation](const Session& session, Diagnostics& diagnostics) {
                options->transfer.lines = linesFor(invocation);
                options->transfer.store = session.storeFile();
                put(session.files(), diagnostics, *options);
            });
    });
}

}  // namespace storage::kvxtool
