#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "commands/Commands.h"
#include "remote/FileVersion.h"
#include "transfer/Download.h"

namespace storage::kvxtool {
namespace {

namespace fs = std::filesystem;

struct GetOptions {
    std::vector<std::string> names;
    bool recursive = false;
    std::string version;
    TransferOptions transfer;
};

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
    const kvxclient::VersionSummary found = findVersion(session, name, version);
    source.versionId = found.getVersionId();
    source.entry.modified = found.getCreated();
    return source;
}

void addSource(Download& download, const Source& source, const fs::path& target,
               const GetOptions& options) {
    if (!source.entry.folder) {
        download.addFile(source.name, source.entry, target, source.versionId);
    } else if (options.recursive) {
        download.addTree(source.name, target);
    } else {
        throw Failure(ExitCode::CONFLICT, source.name.text(),
                      "it is a folder: -r gets it with all it has");
    }
}

void cat(const Session& session, Diagnostics& diagnostics, const RemoteName& name,
         const std::string& version) {
    const Source source = readSource(session, name, version);
    if (source.entry.folder) {
        throw Failure(ExitCode::CONFLICT, name.text(), "it is a folder");
    }
    Download(session.files(), diagnostics).print(name, source.entry, source.versionId);
}

void get(const Session& session, Diagnostics& diagnostics, const GetOptions& options) {
    const std::string& local = options.names.back();
    std::vector<RemoteName> sources;
    for (std::size_t i = 0; i + 1 < options.names.size(); ++i) {
        sources.push_back(RemoteName::parse(options.names[i], RemoteName::Form::WITH_COLON));
    }
    if (!options.version.empty() && sources.size() > 1) {
        throw Failure(ExitCode::USAGE, "--version", "it is for a single file");
    }
    if (local == "-") {
        for (const RemoteName& source : sources) {
            diagnostics.guard(source.text(),
                              [&] { cat(session, diagnostics, source, options.version); });
        }
        return;
    }
    if (RemoteName::isRemote(local)) {
        throw Failure(ExitCode::USAGE, local,
                      "a local name is needed here: write ./ before a name with a colon");
    }
    diagnostics.guard(local, [&] {
        const LocalTarget target(local, sources.size() > 1);
        Download download(session.files(), diagnostics, options.transfer);
        std::set<fs::path> taken;
        for (const RemoteName& source : sources) {
            diagnostics.guard(source.text(), [&] {
                const fs::path path = target.pathFor(source);
                if (!taken.insert(path).second) {
                    throw Failure(ExitCode::CONFLICT, source.text(),
                                  "another source has this name");
                }
                addSource(download, readSource(session, source, options.version), path, options);
            });
        }
        download.run();
    });
}

void addVersionOption(CLI::App& command, std::string& version, const char* description) {
    command.add_option("--version", version, description)->type_name("LABEL");
}

}  // namespace

void addGetAndCat(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<GetOptions>();
    CLI::App* command = program.add_subcommand("get", "Get files and folders from the store");
    command->add_option("NAMES", options->names, "REMOTE... LOCAL; - is standard output")
        ->type_name("")
        ->required()
        ->expected(-2);
    command->add_flag("-r,--recursive", options->recursive, "Get folders with all they have");
    addVersionOption(*command, options->version,
                     "Get the version of a file that has this label or id");
    addJobsOption(*command, options->transfer);
    command->footer(
        "A local folder, or a name that ends in /, takes each source under its own name; several\n"
        "sources need a folder. A file that is there is replaced once the new one is complete.\n"
        "Modification times come along; an old version has the time at which it was made.\n"
        "\n"
        "Examples:\n"
        "  kvx get :/docs/report.pdf .\n"
        "  kvx get -r team:/archive/photos ./photos\n"
        "  kvx get --version 3 :/docs/report.pdf old.pdf\n"
        "  kvx get :/src.tar - | tar t");
    command->callback([options, &invocation] {
        invocation.runInSession(
            [options, &invocation](const Session& session, Diagnostics& diagnostics) {
                options->transfer.lines = linesFor(invocation);
                get(session, diagnostics, *options);
            });
    });

    auto version = std::make_shared<std::string>();
    CLI::App* cats = addForEachName(
        program, invocation, "cat", "Write files to standard output",
        [version](const Session& session, Diagnostics& diagnostics, const RemoteName& source) {
            cat(session, diagnostics, source, *version);
        });
    addVersionOption(*cats, *version, "Write the version that has this label or id");
    cats->footer(
        "Examples:\n"
        "  kvx cat /docs/a.txt | less\n"
        "  kvx cat --version 3 /docs/a.txt");
}

}  // namespace storage::kvxtool
