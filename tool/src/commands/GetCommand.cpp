#include <filesystem>
#include <set>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "transfer/Download.h"

namespace storage::kvxtool {
namespace {

namespace fs = std::filesystem;

/// Local files go where cp would put them.
class LocalTarget {
public:
    LocalTarget(const std::string& target, bool severalSources)
        : path_(target), folder_(target.ends_with('/') || fs::is_directory(path_)) {
        if (severalSources && !fs::is_directory(path_)) {
            throw Failure(fs::exists(path_) ? ExitCode::CONFLICT : ExitCode::NOT_FOUND, target,
                          "several sources need a folder that exists");
        }
    }

    /// Throws Failure when the source's name is needed and no local file can have it, or a link has
    /// it: only a link that is named itself is followed.
    fs::path pathFor(const RemoteName& source) const {
        if (!folder_ || source.isRoot()) {
            return path_;
        }
        fs::path path = path_ / localName(source, source.name());
        refuseLink(path);
        return path;
    }

private:
    fs::path path_;
    bool folder_;
};

struct Source {
    RemoteName name;
    RemoteEntry entry;
    std::string versionId;  ///< Empty for the current one.
};

/// The file or folder, or the version of a file that is asked for.
Source readSource(const Session& session, const RemoteName& name, const std::string& version) {
    Source source{name, readEntry(session.files(), name), {}};
    if (version.empty()) {
        return source;
    }
    if (source.entry.folder) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it is a folder: only files have versions");
    }
    const kvxclient::VersionSummary found = findVersion(session.versions(), name, version);
    source.versionId = found.getVersionId();
    source.entry.modified = found.getCreated();
    return source;
}

void addSource(Download& download, const Source& source, const fs::path& target, bool recursive) {
    if (!source.entry.folder) {
        download.addFile(source.name, source.entry, target, source.versionId);
    } else if (recursive) {
        download.addTree(source.name, target);
    } else {
        throw Failure(ExitCode::CONFLICT, source.name.text(),
                      "it is a folder: -r gets it with all it has");
    }
}

void cat(const Session& session, Invocation& invocation, const RemoteName& name) {
    const Source source = readSource(session, name, invocation.text("--version"));
    if (source.entry.folder) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it is a folder");
    }
    Download(session.files(), invocation.diagnostics).print(name, source.entry, source.versionId);
}

void getToFiles(const Session& session, Invocation& invocation,
                const std::vector<RemoteName>& sources, const std::string& local) {
    Diagnostics& diagnostics = invocation.diagnostics;
    const LocalTarget target(local, sources.size() > 1);
    Download download(session.files(), diagnostics, transferOptions(session, invocation));
    std::set<fs::path> taken;
    for (const RemoteName& source : sources) {
        diagnostics.guard(source.text(), [&] {
            const fs::path path = target.pathFor(source);
            if (!taken.insert(path).second) {
                throw Failure(ExitCode::CONFLICT, source.text(), "another source has this name");
            }
            addSource(download, readSource(session, source, invocation.text("--version")), path,
                      invocation.has("--recursive"));
        });
    }
    download.run();
}

void get(const Session& session, Invocation& invocation) {
    const std::vector<std::string>& names = invocation.texts("NAMES");
    const std::string& local = names.back();
    std::vector<RemoteName> sources;
    for (std::size_t i = 0; i + 1 < names.size(); ++i) {
        sources.push_back(RemoteName::parse(names[i], RemoteName::Form::WITH_COLON));
    }
    if (invocation.has("--version") && sources.size() > 1) {
        throw Failure(ExitCode::USAGE, "--version", "it is for a single file");
    }
    if (local == "-") {
        for (const RemoteName& source : sources) {
            invocation.diagnostics.guard(source.text(), [&] { cat(session, invocation, source); });
        }
        return;
    }
    if (RemoteName::isRemote(local)) {
        throw Failure(ExitCode::USAGE, local,
                      "a local name is needed here: write ./ before a name with a colon");
    }
    invocation.diagnostics.guard(local, [&] { getToFiles(session, invocation, sources, local); });
}

}  // namespace

Command getCommand() {
    return {
        .name = "get",
        .summary = "Get files and folders from the store",
        .group = "Files",
        .options = {argument("NAMES", "REMOTE... LOCAL; - is standard output", SOURCES_AND_TARGET),
                    flag("-r,--recursive", "Get folders with all they have"),
                    option("--version", "LABEL",
                           "Get the version of a file that has this label or id"),
                    jobsOption()},
        .notes =
            R"(A local folder, or a name that ends in /, takes each source under its own name; several
sources need a folder. A file that is there is replaced once the new one is complete.
Keeps modification times; an old version has the time at which it was made.)",
        .examples = {"kvx get :/docs/report.pdf .", "kvx get -r team:/archive/photos ./photos",
                     "kvx get --version 3 :/docs/report.pdf old.pdf",
                     "kvx get :/src.tar - | tar t"},
        .run = inSession(get)};
}

Command catCommand() {
    return {.name = "cat",
            .summary = "Write files to standard output",
            .group = "Files",
            .options = {remoteNames(), option("--version", "LABEL",
                                              "Write the version that has this label or id")},
            .examples = {"kvx cat /docs/a.txt | less", "kvx cat --version 3 /docs/a.txt"},
            .run = forEachRemoteName(cat)};
}

}  // namespace storage::kvxtool
