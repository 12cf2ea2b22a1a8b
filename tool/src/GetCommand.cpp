#include <filesystem>
#include <memory>
#include <set>
#include <vector>

#include "Commands.h"
#include "Download.h"

namespace storage::kvxtool {
namespace {

namespace fs = std::filesystem;

struct GetOptions {
    std::vector<std::string> names;
    bool recursive = false;
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

    /// Throws Failure when the source's name is needed and no local file can have it.
    fs::path pathFor(const RemoteName& source) const {
        return folder_ && !source.isRoot() ? path_ / localName(source, source.name()) : path_;
    }

private:
    fs::path path_;
    bool folder_;
};

void addSource(const kvxclient::FileAccess& files, Download& download, const RemoteName& source,
               const fs::path& target, const GetOptions& options) {
    const RemoteEntry entry = readEntry(files, source);
    if (!entry.folder) {
        download.addFile(source, entry, target);
    } else if (options.recursive) {
        download.addTree(source, target);
    } else {
        throw Failure(ExitCode::CONFLICT, source.text(),
                      "it is a folder: -r gets it with all it has");
    }
}

void cat(const kvxclient::FileAccess& files, Diagnostics& diagnostics, const RemoteName& source) {
    if (readEntry(files, source).folder) {
        throw Failure(ExitCode::CONFLICT, source.text(), "it is a folder");
    }
    Download(files, diagnostics).print(source);
}

void get(const kvxclient::FileAccess& files, Diagnostics& diagnostics, const GetOptions& options) {
    const std::string& local = options.names.back();
    std::vector<RemoteName> sources;
    for (std::size_t i = 0; i + 1 < options.names.size(); ++i) {
        sources.push_back(RemoteName::parse(options.names[i], RemoteName::Form::WITH_COLON));
    }
    if (local == "-") {
        for (const RemoteName& source : sources) {
            diagnostics.guard(source.text(), [&] { cat(files, diagnostics, source); });
        }
        return;
    }
    if (RemoteName::isRemote(local)) {
        throw Failure(ExitCode::USAGE, local,
                      "a local name is needed here: write ./ before a name with a colon");
    }
    diagnostics.guard(local, [&] {
        const LocalTarget target(local, sources.size() > 1);
        Download download(files, diagnostics);
        std::set<fs::path> taken;
        for (const RemoteName& source : sources) {
            diagnostics.guard(source.text(), [&] {
                const fs::path path = target.pathFor(source);
                if (!taken.insert(path).second) {
                    throw Failure(ExitCode::CONFLICT, source.text(),
                                  "another source has this name");
                }
                addSource(files, download, source, path, options);
            });
        }
        download.run();
    });
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
    command->footer(
        "A local folder, or a name that ends in /, takes each source under its own name; several\n"
        "sources need a folder. A file that is there is replaced once the new one is complete.\n"
        "Modification times come along.\n"
        "\n"
        "Examples:\n"
        "  kvx get :/docs/report.pdf .\n"
        "  kvx get -r team:/archive/photos ./photos\n"
        "  kvx get :/src.tar - | tar t");
    command->callback([options, &invocation] {
        invocation.runInSession([options](const Session& session, Diagnostics& diagnostics) {
            get(session.files(), diagnostics, *options);
        });
    });

    addForEachName(program, invocation, "cat", "Write files to standard output",
                   [](const Session& session, Diagnostics& diagnostics, const RemoteName& source) {
                       cat(session.files(), diagnostics, source);
                   })
        ->footer(
            "Examples:\n"
            "  kvx cat /docs/a.txt | less");
}

}  // namespace storage::kvxtool
