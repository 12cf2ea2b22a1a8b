#include <filesystem>
#include <set>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "transfer/Upload.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

namespace fs = std::filesystem;

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

void addLocalSource(Upload& upload, const std::string& source, const RemoteTarget& target,
                    bool recursive) {
    if (RemoteName::isRemote(source)) {
        throw Failure(ExitCode::USAGE, source,
                      "a local name is needed here: write ./ before a name with a colon");
    }
    const RemoteName name = target.nameFor(sourceName(source));
    if (!fs::is_directory(fs::status(source))) {
        upload.addFile(source, name);
    } else if (recursive) {
        upload.addTree(source, name);
    } else {
        throw Failure(ExitCode::CONFLICT, source, "it is a folder: -r puts it with all it has");
    }
}

void put(const Session& session, Invocation& invocation) {
    Diagnostics& diagnostics = invocation.diagnostics;
    std::vector<std::string> sources = invocation.texts("NAMES");
    const RemoteName name = RemoteName::parse(sources.back(), RemoteName::Form::WITH_COLON);
    sources.pop_back();
    diagnostics.guard(name.text(), [&] {
        const RemoteTarget target(session.files(), name, sources.size() > 1);
        Upload upload(session.files(), diagnostics, transferOptions(session, invocation));
        std::set<std::u16string> taken;
        for (const std::string& source : sources) {
            diagnostics.guard(source, [&] {
                if (source == "-") {
                    putStandardInput(upload, target);
                } else if (!taken.insert(sourceName(source)).second) {
                    throw Failure(ExitCode::CONFLICT, source, "another source has this name");
                } else {
                    addLocalSource(upload, source, target, invocation.has("--recursive"));
                }
            });
        }
        upload.run();
    });
}

}  // namespace

Command putCommand() {
    return {
        .name = "put",
        .summary = "Put local files and folders into the store",
        .group = "Files",
        .options = {argument("NAMES", "LOCAL... REMOTE; - is standard input", SOURCES_AND_TARGET),
                    flag("-r,--recursive", "Put folders with all they have"), jobsOption()},
        .notes =
            R"(A remote folder, or a name that ends in /, takes each source under its own name; several
sources need a folder. A file that is there is replaced once the new one is complete,
and kept as a version where the policy says so. A file that changes while it is read is
not stored. Modification times are kept.
Links named on the command line are followed; links and special files (pipes, sockets,
devices) inside folders are left out with a warning. Permissions are not kept.)",
        .examples = {"kvx put report.pdf :/docs/", "kvx put -r photos team:/archive",
                     "tar c src | kvx put - :/src.tar"},
        .run = inSession(put)};
}

}  // namespace storage::kvxtool
