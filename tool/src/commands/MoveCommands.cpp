#include <set>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"

namespace storage::kvxtool {
namespace {

using kvxclient::FileAccess;

/// The name without its bucket, where that is the user's own: by it two names of one place are
/// equal.
RemoteName plainName(const FileAccess& files, const RemoteName& name) {
    return isOwnBucket(files, name.resource().getBucket()) ? name.inOwnBucket() : name;
}

/// Throws Failure where a source would go onto or into itself.
void requireElsewhere(const FileAccess& files, const RemoteName& source, const RemoteName& target) {
    const bool mixed = source.isInOwnBucket() != target.isInOwnBucket();
    const RemoteName from = mixed ? plainName(files, source) : source;
    const RemoteName to = mixed ? plainName(files, target) : target;
    if (to == from) {
        throw Failure(ExitCode::CONFLICT, source.text(), "source and target are the same");
    }
    if (to.isBelow(from)) {
        throw Failure(ExitCode::CONFLICT, source.text(), "it cannot go into itself");
    }
}

void moveOrCopy(const FileAccess& files, const Invocation& invocation, bool copy,
                const RemoteName& source, const RemoteTarget& into) {
    const RemoteEntry entry = readEntry(files, source);
    if (copy && entry.folder && !invocation.has("--recursive")) {
        throw Failure(ExitCode::CONFLICT, source.text(),
                      "it is a folder: -r copies it with all it has");
    }
    const RemoteName target = into.nameFor(source.name());
    requireElsewhere(files, source, target);
    if (const std::optional<RemoteEntry> existing = into.find(files, target)) {
        if (invocation.has("--no-clobber")) {
            reportAction(invocation.out, "skipped", source, target);
            return;
        }
        if (existing->folder || entry.folder) {
            throw Failure(ExitCode::CONFLICT, target.text(),
                          "it exists already, and only a file can replace a file");
        }
        if (!invocation.has("--force")) {
            throw Failure(ExitCode::CONFLICT, target.text(), "it exists already: -f replaces it");
        }
    }
    kvxclient::MoveOrCopyRequest request(source.resource(), target.resource());
    request.withTargetOverwrite(invocation.has("--force"));
    copy ? files.copy(std::move(request)) : files.move(std::move(request));
    reportAction(invocation.out, copy ? "copied" : "moved", source, target);
}

void moveOrCopyAll(const FileAccess& files, Invocation& invocation, bool copy) {
    std::vector<std::string> sources = invocation.texts("REMOTE");
    const RemoteName name = RemoteName::parse(sources.back());
    sources.pop_back();
    invocation.diagnostics.guard(name.text(), [&] {
        const RemoteTarget target(files, name, sources.size() > 1);
        std::set<std::u16string> taken;
        forEachName(sources, invocation.diagnostics, [&](const std::string& source) {
            const RemoteName from = RemoteName::parse(source);
            const std::u16string path = target.nameFor(from.name()).path();
            if (invocation.has("--force") && taken.contains(path)) {
                throw Failure(ExitCode::CONFLICT, source, "another source has this name");
            }
            moveOrCopy(files, invocation, copy, from, target);
            taken.insert(path);
        });
    });
}

/// What mv and cp have in common.
Command moveOrCopyCommand(bool copy) {
    return {.group = "Files",
            .options = {argument("REMOTE", "The sources, then the target", SOURCES_AND_TARGET),
                        flag("-f,--force", "Replace a file that exists, and its versions"),
                        flag("-n,--no-clobber", "Leave out what exists already").without("-f")},
            .notes = "A target that is a folder takes each source under its own name.",
            .run = inSession([copy](const Session& session, Invocation& invocation) {
                moveOrCopyAll(session.files(), invocation, copy);
            })};
}

}  // namespace

Command mvCommand() {
    Command mv = moveOrCopyCommand(false);
    mv.name = "mv";
    mv.summary = "Move or rename files and folders";
    mv.examples = {"kvx mv /draft.txt /final.txt", "kvx mv /a.txt /b.txt team:/docs/"};
    return mv;
}

Command cpCommand() {
    Command cp = moveOrCopyCommand(true);
    cp.name = "cp";
    cp.summary = "Copy files and folders within the store";
    cp.options.push_back(flag("-r,--recursive", "Copy folders with all they have"));
    cp.examples = {"kvx cp /docs/a.txt /docs/b.txt", "kvx cp -r /docs team:/archive/"};
    return cp;
}

}  // namespace storage::kvxtool
