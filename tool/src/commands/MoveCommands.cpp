#include <memory>
#include <set>
#include <vector>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"

namespace storage::kvxtool {
namespace {

using kvxclient::FileAccess;

struct MoveOptions {
    bool copy = false;
    std::vector<std::string> names;
    bool recursive = false;
    bool overwrite = false;
    bool keepExisting = false;
};

/// The name by which two names of one place are equal.
RemoteName plainName(const FileAccess& files, const RemoteName& name) {
    return isOwnBucket(files, name.resource().getBucket()) ? name.inOwnBucket() : name;
}

/// Throws Failure where a source would go onto or into itself.
void requireElsewhere(const FileAccess& files, const RemoteName& source, const RemoteName& target) {
    const RemoteName from = plainName(files, source);
    const RemoteName to = plainName(files, target);
    if (to == from) {
        throw Failure(ExitCode::CONFLICT, source.text(), "source and target are the same");
    }
    if (to.isBelow(from)) {
        throw Failure(ExitCode::CONFLICT, source.text(), "it cannot go into itself");
    }
}

void moveOne(const FileAccess& files, const RemoteName& source, const RemoteTarget& into,
             const MoveOptions& options, const Invocation& invocation) {
    const RemoteEntry entry = readEntry(files, source);
    if (options.copy && entry.folder && !options.recursive) {
        throw Failure(ExitCode::CONFLICT, source.text(),
                      "it is a folder: -r copies it with all it has");
    }
    const RemoteName target = into.nameFor(source.name());
    requireElsewhere(files, source, target);
    if (const std::optional<RemoteEntry> existing = findEntry(files, target)) {
        if (options.keepExisting) {
            invocation.report("skipped", source, target);
            return;
        }
        if (existing->folder || entry.folder) {
            throw Failure(ExitCode::CONFLICT, target.text(),
                          "it exists already, and only a file can replace a file");
        }
        if (!options.overwrite) {
            throw Failure(ExitCode::CONFLICT, target.text(), "it exists already: -f replaces it");
        }
    }
    kvxclient::MoveOrCopyRequest request(source.resource(), target.resource());
    request.withTargetOverwrite(options.overwrite);
    options.copy ? files.copy(std::move(request)) : files.move(std::move(request));
    invocation.report(options.copy ? "copied" : "moved", source, target);
}

void moveAll(const FileAccess& files, Diagnostics& diagnostics, const MoveOptions& options,
             const Invocation& invocation) {
    const RemoteName name = RemoteName::parse(options.names.back());
    diagnostics.guard(name.text(), [&] {
        const RemoteTarget target(files, name, options.names.size() > 2);
        const std::vector<std::string> sources(options.names.begin(), options.names.end() - 1);
        std::set<std::u16string> taken;
        forEachName(sources, diagnostics, [&](const std::string& source) {
            const RemoteName from = RemoteName::parse(source);
            const std::u16string path = target.nameFor(from.name()).path();
            if (options.overwrite && taken.contains(path)) {
                throw Failure(ExitCode::CONFLICT, source, "another source has this name");
            }
            moveOne(files, from, target, options, invocation);
            taken.insert(path);
        });
    });
}

CLI::App* addCommand(CLI::App& program, Invocation& invocation, const std::string& name,
                     const std::string& description, const std::shared_ptr<MoveOptions>& options) {
    CLI::App* command = program.add_subcommand(name, description);
    command->add_option("REMOTE", options->names, "The sources, then the target")
        ->type_name("")
        ->required()
        ->expected(-2);
    CLI::Option* force = command->add_flag("-f,--force", options->overwrite,
                                           "Replace a file that exists, and its versions");
    command->add_flag("-n,--no-clobber", options->keepExisting, "Leave out what exists already")
        ->excludes(force);
    command->callback([options, &invocation] {
        invocation.runInSession(
            [options, &invocation](const Session& session, Diagnostics& diagnostics) {
                moveAll(session.files(), diagnostics, *options, invocation);
            });
    });
    return command;
}

}  // namespace

void addMvAndCp(CLI::App& program, Invocation& invocation) {
    addCommand(program, invocation, "mv", "Move or rename files and folders",
               std::make_shared<MoveOptions>())
        ->footer(
            "A target that is a folder takes each source under its own name.\n"
            "\n"
            "Examples:\n"
            "  kvx mv /draft.txt /final.txt\n"
            "  kvx mv /a.txt /b.txt team:/docs/");
    const auto copying = std::make_shared<MoveOptions>();
    copying->copy = true;
    CLI::App* copy =
        addCommand(program, invocation, "cp", "Copy files and folders within the store", copying);
    copy->add_flag("-r,--recursive", copying->recursive, "Copy folders with all they have");
    copy->footer(
        "A target that is a folder takes each source under its own name.\n"
        "\n"
        "Examples:\n"
        "  kvx cp /docs/a.txt /docs/b.txt\n"
        "  kvx cp -r /docs team:/archive/");
}

}  // namespace storage::kvxtool
