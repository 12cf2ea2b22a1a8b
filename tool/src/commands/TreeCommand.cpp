#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

/// Prints a tree whose folders come one by one, each before those below it.
class TreePrinter {
public:
    /// A depth of 0 is without a limit.
    TreePrinter(const Output& out, bool foldersOnly, std::size_t depth)
        : out_(out), foldersOnly_(foldersOnly), depth_(depth) {}

    /// Takes what `folder` has, and leaves in `entries` what is to be visited.
    void visit(const RemoteName& folder, std::vector<RemoteEntry>& entries) {
        if (!open_.empty()) {
            printUpTo(folder);
        } else if (!out_.isJson()) {
            std::cout << shown(folder.text()) << '\n';
        }
        const auto isFile = [](const RemoteEntry& entry) { return !entry.folder; };
        if (foldersOnly_) {
            entries.erase(std::remove_if(entries.begin(), entries.end(), isFile), entries.end());
        }
        open_.push_back({folder, entries, 0});
        if (open_.size() == depth_) {
            entries.clear();
        }
    }

    /// Prints what is left of it, and counts.
    void finish() {
        while (!open_.empty()) {
            printNext();
        }
        if (!out_.isJson()) {
            const auto counted = [](unsigned long count, const char* what) {
                return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
            };
            std::cout << '\n' << counted(folders_, "folder");
            if (!foldersOnly_) {
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
        out_.print([&] { return jsonOf(name, entry); }, [&] { return lineOf(entry); });
        return name;
    }

    std::string lineOf(const RemoteEntry& entry) const {
        const auto hasMore = [](const Folder& folder) {
            return folder.next < folder.entries.size();
        };
        std::string line;
        for (std::size_t i = 0; i + 1 < open_.size(); ++i) {
            line += hasMore(open_[i]) ? "│   " : "    ";
        }
        return line + (hasMore(open_.back()) ? "├── " : "└── ") + shown(toUtf8(entry.name));
    }

    const Output& out_;
    const bool foldersOnly_;
    const std::size_t depth_;
    std::vector<Folder> open_;
    unsigned long folders_ = 0;
    unsigned long files_ = 0;
};

void tree(const Session& session, Invocation& invocation) {
    const std::size_t depth =
        invocation.has("-L") ? static_cast<std::size_t>(invocation.number("-L")) : 0;
    for (const std::string& argument : namesOrRoot(invocation)) {
        invocation.diagnostics.guard(argument, [&] {
            const RemoteName name = RemoteName::parse(argument);
            requireFolder(session.files(), name);
            TreePrinter printer(invocation.out, invocation.has("-d"), depth);
            walkFolders(session.files(), invocation.diagnostics, name, invocation.has("-a"),
                        [&](const RemoteName& folder, std::vector<RemoteEntry>& entries) {
                            printer.visit(folder, entries);
                        });
            printer.finish();
        });
    }
}

}  // namespace

Command treeCommand() {
    return {
        .name = "tree",
        .summary = "Show folders with all below them",
        .group = "Files",
        .options = {argument("REMOTE", "Folders; the root of your bucket by default", ANY_NUMBER),
                    flag("-a", "Show hidden names too, which begin with a dot"),
                    flag("-d", "Show folders only"),
                    option("-L", "DEPTH", "Show no more than so many levels").inRange(1, 9999)},
        .examples = {"kvx tree", "kvx tree -d -L 2 team:/"},
        .run = inSession(tree)};
}

}  // namespace storage::kvxtool
