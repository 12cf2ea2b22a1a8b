#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "commands/Commands.h"
#include "remote/RemoteTree.h"
#include "storage/kvxclient/KVXClientException.h"
#include "ui/Json.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

struct ListOptions {
    std::vector<std::string> names;
    bool details = false;
    bool human = false;
    bool all = false;
    bool recursive = false;
    bool byTime = false;
    bool bySize = false;
    bool reversed = false;
    bool onePerLine = false;
    std::string color = "auto";
    bool json = false;
};

bool wantsColor(const std::string& option) {
    const char* none = std::getenv("NO_COLOR");
    const bool unwanted = none != nullptr && *none != '\0';
    return option == "always" || (option == "auto" && onTerminal() && !unwanted);
}

void sort(std::vector<RemoteEntry>& entries, const ListOptions& options) {
    const auto sortBy = [&](auto isBefore) {
        std::stable_sort(entries.begin(), entries.end(), isBefore);
    };
    if (options.byTime) {
        sortBy([](const auto& a, const auto& b) { return a.modified > b.modified; });
    } else if (options.bySize) {
        sortBy([](const auto& a, const auto& b) { return a.size > b.size; });
    }
    if (options.reversed) {
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

void printDetails(const std::vector<RemoteEntry>& entries, const ListOptions& options, bool color) {
    std::size_t width = 0;
    for (const RemoteEntry& entry : entries) {
        width = std::max(width, sizeOf(entry, options.human).size());
    }
    for (const RemoteEntry& entry : entries) {
        const std::string size = sizeOf(entry, options.human);
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
    Listing(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
            const ListOptions& options)
        : files_(files),
          diagnostics_(diagnostics),
          options_(options),
          color_(wantsColor(options.color)) {}

    void list(const RemoteName& name) {
        try {
            options_.recursive ? listTree(name) : listFolder(name);
        } catch (const kvxclient::KVXClientException& error) {
            if (error.getErrorCode() != kvxclient::KVXClientErrorCode::CONFLICT) {
                throw;
            }
            listFile(name);
        }
    }

private:
    void listTree(const RemoteName& name) {
        const auto visit = [this](const RemoteName& folder, std::vector<RemoteEntry>& entries) {
            printFolder(folder, entries);
        };
        walkFolders(files_, diagnostics_, name, options_.all, visit);
    }

    void listFolder(const RemoteName& name) {
        kvxclient::FolderListRequest request(name.resource());
        request.withShowHidden(options_.all);
        std::vector<RemoteEntry> entries = entriesOf(files_.listFolder(std::move(request)));
        printFolder(name, entries);
    }

    void listFile(const RemoteName& name) {
        RemoteEntry entry = readEntry(files_, name);
        if (options_.json) {
            printJson(jsonOf(name, entry));
            return;
        }
        entry.name = *toUtf16(name.text());
        print({entry});
        first_ = false;
    }

    void printFolder(const RemoteName& name, std::vector<RemoteEntry>& entries) {
        sort(entries, options_);
        if (options_.json) {
            for (const RemoteEntry& entry : entries) {
                printJson(jsonOf(name.child(entry.name), entry));
            }
            return;
        }
        if (options_.recursive || options_.names.size() > 1) {
            std::cout << (first_ ? "" : "\n") << shown(name.text()) << ":\n";
        }
        print(entries);
        first_ = false;
    }

    void print(const std::vector<RemoteEntry>& entries) {
        options_.details ? printDetails(entries, options_, color_)
                         : printNames(entries, onTerminal() && !options_.onePerLine, color_);
    }

    const kvxclient::FileAccess& files_;
    Diagnostics& diagnostics_;
    const ListOptions& options_;
    const bool color_;
    bool first_ = true;
};

void ls(const kvxclient::FileAccess& files, Diagnostics& diagnostics, const ListOptions& options) {
    Listing listing(files, diagnostics, options);
    for (const std::string& name : options.names) {
        diagnostics.guard(name, [&] { listing.list(RemoteName::parse(name)); });
    }
}

}  // namespace

void addLs(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<ListOptions>();
    CLI::App* command = program.add_subcommand("ls", "List folders");
    command
        ->add_option("REMOTE", options->names,
                     "Folders and files; the root of your bucket by default")
        ->type_name("");
    command->add_flag("-l", options->details, "Show kind, access, size and modification time");
    command->add_flag("-h", options->human, "Show sizes for people, as 1.5M");
    command->add_flag("-a", options->all, "Show hidden names too, which begin with a dot");
    command->add_flag("-R", options->recursive, "List the folders in folders too");
    CLI::Option* byTime =
        command->add_flag("-t", options->byTime, "Sort by modification time, the newest first");
    command->add_flag("-S", options->bySize, "Sort by size, the largest first")->excludes(byTime);
    command->add_flag("-r", options->reversed, "Sort the other way round");
    command->add_flag("-1", options->onePerLine, "Show one name a line");
    command
        ->add_option("--color", options->color,
                     "Colour folders and hidden names: always, never, or auto, on a terminal "
                     "without NO_COLOR")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    command->footer(
        "Names stand in columns on a terminal, and one a line in a pipe. Control characters in\n"
        "names are escaped on a terminal, and are as they are in a pipe.\n"
        "\n"
        "Examples:\n"
        "  kvx ls\n"
        "  kvx ls -lh team:/docs\n"
        "  kvx ls -lt /docs | head");
    command->callback([options, &invocation] {
        options->json = invocation.json;
        if (options->names.empty()) {
            options->names.push_back(":/");
        }
        invocation.runInSession([options](const Session& session, Diagnostics& diagnostics) {
            ls(session.files(), diagnostics, *options);
        });
    });
}

}  // namespace storage::kvxtool
