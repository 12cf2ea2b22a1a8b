#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <nlohmann/json.hpp>
#include <utility>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

bool wantsColor(const std::string& when) {
    const char* none = std::getenv("NO_COLOR");
    const bool unwanted = (none != nullptr && *none != '\0') || isTerminalDumb();
    return when == "always" || (when != "never" && onTerminal() && !unwanted);
}

void sort(std::vector<RemoteEntry>& entries, const Invocation& invocation) {
    const auto sortBy = [&](auto isBefore) {
        std::stable_sort(entries.begin(), entries.end(), isBefore);
    };
    if (invocation.has("-t")) {
        sortBy([](const auto& a, const auto& b) { return a.modified > b.modified; });
    } else if (invocation.has("-S")) {
        sortBy([](const auto& a, const auto& b) { return a.size > b.size; });
    }
    if (invocation.has("-r")) {
        std::reverse(entries.begin(), entries.end());
    }
}

std::string sizeOf(const RemoteEntry& entry, bool human) {
    if (entry.folder) {
        return "-";
    }
    return human ? humanSize(entry.size) : std::to_string(entry.size);
}

std::string colored(const RemoteEntry& entry, std::string text, bool color) {
    const bool hidden = entry.name.starts_with(u'.');
    if (!color || !(entry.folder || hidden)) {
        return text;
    }
    const char* faintOrBold = hidden ? "\x1b[2" : "\x1b[1";
    return faintOrBold + (entry.folder ? std::string(";34m") : "m") + text + "\x1b[0m";
}

void printDetails(const std::vector<RemoteEntry>& entries, bool human, bool color) {
    std::size_t width = 0;
    for (const RemoteEntry& entry : entries) {
        width = std::max(width, sizeOf(entry, human).size());
    }
    for (const RemoteEntry& entry : entries) {
        const std::string size = sizeOf(entry, human);
        std::cout << (entry.folder ? 'd' : '-') << 'r' << (entry.writable ? 'w' : '-') << "  "
                  << std::string(width - size.size(), ' ') << size << "  "
                  << shortTime(entry.modified) << "  "
                  << colored(entry, shown(toUtf8(entry.name)), color) << '\n';
    }
}

void printNames(const std::vector<RemoteEntry>& entries, bool inColumns, bool color) {
    std::vector<Cell> cells;
    for (const RemoteEntry& entry : entries) {
        std::string name = shown(toUtf8(entry.name));
        const std::size_t width = inColumns ? displayWidth(name) : 0;
        cells.push_back({colored(entry, std::move(name), color), width});
    }
    if (inColumns) {
        printColumns(cells);
        return;
    }
    for (const Cell& cell : cells) {
        std::cout << cell.text << '\n';
    }
}

/// Prints listings one after the other, under headings when there may be several.
class Listing {
public:
    Listing(const kvxclient::FileAccess& files, Invocation& invocation, bool severalNames)
        : files_(files),
          invocation_(invocation),
          all_(invocation.has("-a")),
          headings_(invocation.has("-R") || severalNames),
          color_(wantsColor(invocation.text("--color"))) {}

    void list(const RemoteName& name) {
        const auto listContent = [&] { invocation_.has("-R") ? listTree(name) : listFolder(name); };
        if (invocation_.has("-d") ||
            refusedWith(kvxclient::KVXClientErrorCode::CONFLICT, listContent)) {
            listItself(name);
        }
    }

private:
    void listTree(const RemoteName& name) {
        const auto visit = [this](const RemoteName& folder, std::vector<RemoteEntry>& entries) {
            printFolder(folder, entries);
        };
        walkFolders(files_, invocation_.diagnostics, name, all_, visit);
    }

    void listFolder(const RemoteName& name) {
        std::vector<RemoteEntry> entries = entriesOf(files_.listFolder(listRequest(name, all_)));
        printFolder(name, entries);
    }

    void listItself(const RemoteName& name) {
        RemoteEntry entry = readEntry(files_, name);
        if (invocation_.out.isJson()) {
            printJson(name, entry);
            return;
        }
        entry.name = *toUtf16(name.text());
        printText({entry});
        first_ = false;
    }

    void printFolder(const RemoteName& name, std::vector<RemoteEntry>& entries) {
        sort(entries, invocation_);
        if (invocation_.out.isJson()) {
            for (const RemoteEntry& entry : entries) {
                printJson(name.child(entry.name), entry);
            }
            return;
        }
        if (headings_) {
            std::cout << (first_ ? "" : "\n") << shown(name.text()) << ":\n";
        }
        printText(entries);
        first_ = false;
    }

    void printJson(const RemoteName& name, const RemoteEntry& entry) {
        invocation_.out.print(jsonOf(name, entry), {});
    }

    void printText(const std::vector<RemoteEntry>& entries) {
        invocation_.has("-l") ? printDetails(entries, invocation_.has("-h"), color_)
                              : printNames(entries, onTerminal() && !invocation_.has("-1"), color_);
    }

    const kvxclient::FileAccess& files_;
    Invocation& invocation_;
    const bool all_;
    const bool headings_;
    const bool color_;
    bool first_ = true;
};

void ls(const Session& session, Invocation& invocation) {
    const std::vector<std::string> names = namesOrRoot(invocation);
    Listing listing(session.files(), invocation, names.size() > 1);
    for (const std::string& name : names) {
        invocation.diagnostics.guard(name, [&] { listing.list(RemoteName::parse(name)); });
    }
}

}  // namespace

Command lsCommand() {
    return {
        .name = "ls",
        .summary = "List folders",
        .group = "Files",
        .options = {argument("REMOTE", "Folders and files; the root of your bucket by default",
                             ANY_NUMBER),
                    flag("-l", "Show kind, access, size and modification time"),
                    flag("-h", "Show sizes for people, as 1.5M"),
                    flag("-a", "Show hidden names too, which begin with a dot"),
                    flag("-d", "List folders themselves, not what is in them"),
                    flag("-R", "List the folders in folders too").without("-d"),
                    flag("-t", "Sort by modification time, the newest first"),
                    flag("-S", "Sort by size, the largest first").without("-t"),
                    flag("-r", "Sort the other way round"), flag("-1", "Show one name a line"),
                    option("--color", "WHEN",
                           "Colour folders and hidden names: always, never, or auto, on a terminal "
                           "without NO_COLOR")
                        .oneOf({"auto", "always", "never"})},
        .notes =
            R"(Names stand in columns on a terminal, and one a line in a pipe. Control characters in
names are escaped on a terminal, and are as they are in a pipe.)",
        .examples = {"kvx ls", "kvx ls -lh team:/docs", "kvx ls -lt /docs | head"},
        .run = inSession(ls)};
}

}  // namespace storage::kvxtool
