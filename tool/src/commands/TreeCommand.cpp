#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "ui/Json.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

struct TreeOptions {
    std::vector<std::string> names;
    bool all = false;
    bool foldersOnly = false;
    std::size_t depth = 0;  // 0 is without a limit.
    bool json = false;
};

/// Prints a tree whose folders come one by one, each before those below it.
class TreePrinter {
public:
    explicit TreePrinter(const TreeOptions& options) : options_(options) {}

    /// Takes what `folder` has, and leaves in `entries` what is to be visited.
    void visit(const RemoteName& folder, std::vector<RemoteEntry>& entries) {
        if (open_.empty()) {
            printRoot(folder);
        } else {
            printUpTo(folder);
        }
        const auto isFile = [](const RemoteEntry& entry) { return !entry.folder; };
        if (options_.foldersOnly) {
            entries.erase(std::remove_if(entries.begin(), entries.end(), isFile), entries.end());
        }
        open_.push_back({folder, entries, 0});
        if (open_.size() == options_.depth) {
            entries.clear();
        }
    }

    /// Prints what is left of it, and counts.
    void finish() {
        while (!open_.empty()) {
            printNext();
        }
        if (!options_.json) {
            const auto counted = [](unsigned long count, const char* what) {
                return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
            };
            std::cout << '\n' << counted(folders_, "folder");
            if (!options_.foldersOnly) {
                std::cout << ", " << counted(files_, "file");
            }
            std::cout << '\n';
        }
    }

private:
    struct Folder {
        RemoteName name;
        std::vector<RemoteEntry> entries;
        std::size_t next;
    };

    void printRoot(const RemoteName& folder) const {
        if (!options_.json) {
            std::cout << shown(folder.text()) << '\n';
        }
    }

    void printUpTo(const RemoteName& folder) {
        std::optional<RemoteName> printed;
        do {
            printed = printNext();
        } while (printed != folder);
    }

    /// Prints one entry and returns its name, or leaves a folder that has no more.
    std::optional<RemoteName> printNext() {
        Folder& folder = open_.back();
        if (folder.next == folder.entries.size()) {
            open_.pop_back();
            return std::nullopt;
        }
        const RemoteEntry& entry = folder.entries[folder.next++];
        (entry.folder ? folders_ : files_) += 1;
        RemoteName name = folder.name.child(entry.name);
        if (options_.json) {
            printJson(jsonOf(name, entry));
        } else {
            printLine(entry);
        }
        return name;
    }

    void printLine(const RemoteEntry& entry) const {
        const auto hasMore = [](const Folder& folder) {
            return folder.next < folder.entries.size();
        };
        for (std::size_t i = 0; i + 1 < open_.size(); ++i) {
            std::cout << (hasMore(open_[i]) ? "│   " : "    ");
        }
        std::cout << (hasMore(open_.back()) ? "├── " : "└── ") << shown(toUtf8(entry.name)) << '\n';
    }

    const TreeOptions& options_;
    std::vector<Folder> open_;
    unsigned long folders_ = 0;
    unsigned long files_ = 0;
};

void tree(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
          const TreeOptions& options) {
    for (const std::string& argument : options.names) {
        diagnostics.guard(argument, [&] {
            const RemoteName name = RemoteName::parse(argument);
            requireFolder(files, name);
            TreePrinter printer(options);
            walkFolders(files, diagnostics, name, options.all,
                        [&](const RemoteName& folder, std::vector<RemoteEntry>& entries) {
                            printer.visit(folder, entries);
                        });
            printer.finish();
        });
    }
}

}  // namespace

void addTree(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<TreeOptions>();
    CLI::App* command = program.add_subcommand("tree", "Show folders with all below them");
    command->add_option("REMOTE", options->names, "Folders; the root of your bucket by default")
        ->type_name("");
    command->add_flag("-a", options->all, "Show hidden names too, which begin with a dot");
    command->add_flag("-d", options->foldersOnly, "Show folders only");
    command->add_option("-L", options->depth, "Show no more than so many levels")
        ->type_name("DEPTH")
        ->check(CLI::Range(1, 9999));
    command->footer(
        "Examples:\n"
        "  kvx tree\n"
        "  kvx tree -d -L 2 team:/");
    command->callback([options, &invocation] {
        options->json = invocation.json;
        if (options->names.empty()) {
            options->names.push_back(":/");
        }
        invocation.runInSession([options](const Session& session, Diagnostics& diagnostics) {
            tree(session.files(), diagnostics, *options);
        });
    });
}

}  // namespace storage::kvxtool
