#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "Commands.h"
#include "RemoteTree.h"
#include "Text.h"
#include "storage/kvxclient/KVXClientException.h"

namespace storage::kvxtool {
namespace {

struct ListOptions {
    std::vector<std::string> names;
    bool details = false;
    bool human = false;
    bool all = false;
    bool recursive = false;
};

/// A name as it is, unless a terminal would act on it.
std::string shown(const std::string& name) {
    static const bool terminal = isatty(STDOUT_FILENO) != 0;
    return terminal ? escaped(name) : name;
}

std::string sizeOf(const RemoteEntry& entry, bool human) {
    if (entry.folder) {
        return "-";
    }
    return human ? humanSize(entry.size) : std::to_string(entry.size);
}

void print(const std::vector<RemoteEntry>& entries, const ListOptions& options) {
    std::size_t width = 0;
    for (const RemoteEntry& entry : entries) {
        width = std::max(width, sizeOf(entry, options.human).size());
    }
    for (const RemoteEntry& entry : entries) {
        if (options.details) {
            const std::string size = sizeOf(entry, options.human);
            std::cout << (entry.folder ? 'd' : '-') << 'r' << (entry.writable ? 'w' : '-') << "  "
                      << std::string(width - size.size(), ' ') << size << "  "
                      << shortTime(entry.modified) << "  ";
        }
        std::cout << shown(toUtf8(entry.name)) << '\n';
    }
}

/// Prints listings one after the other, under headings when there may be several.
class Listing {
public:
    Listing(const kvxclient::FileAccess& files, Diagnostics& diagnostics,
            const ListOptions& options)
        : files_(files), diagnostics_(diagnostics), options_(options) {}

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
            printUnderHeading(folder, entries);
        };
        walkFolders(files_, diagnostics_, name, options_.all, visit);
    }

    void listFolder(const RemoteName& name) {
        kvxclient::FolderListRequest request(name.resource());
        request.withShowHidden(options_.all);
        printUnderHeading(name, entriesOf(files_.listFolder(std::move(request))));
    }

    void listFile(const RemoteName& name) {
        RemoteEntry entry = readEntry(files_, name);
        entry.name = *toUtf16(name.text());
        print({entry}, options_);
        first_ = false;
    }

    void printUnderHeading(const RemoteName& name, const std::vector<RemoteEntry>& entries) {
        if (options_.recursive || options_.names.size() > 1) {
            std::cout << (first_ ? "" : "\n") << shown(name.text()) << ":\n";
        }
        print(entries, options_);
        first_ = false;
    }

    const kvxclient::FileAccess& files_;
    Diagnostics& diagnostics_;
    const ListOptions& options_;
    bool first_ = true;
};

void ls(const kvxclient::FileAccess& files, Diagnostics& diagnostics, const ListOptions& options) {
    Listing listing(files, diagnostics, options);
    for (const std::string& name : options.names) {
        diagnostics.guard(name, [&] { listing.list(RemoteName::parse(name)); });
    }
}

void printAttributes(const RemoteName& name, const kvxclient::FileAttributes& attributes) {
    const auto yesOrNo = [](bool value) { return value ? "yes" : "no"; };
    const auto byClient = attributes.getClientLastModified();
    const bool reported = byClient.time_since_epoch().count() != 0;
    std::cout << "name:             " << shown(name.text()) << '\n'
              << "type:             " << attributes.getType() << '\n'
              << "size:             " << attributes.getSize() << '\n'
              << "created:          " << exactTime(attributes.getCreated()) << '\n'
              << "stored:           " << exactTime(attributes.getLastModified()) << '\n'
              << "modified:         " << (reported ? exactTime(byClient) : "-") << '\n'
              << "access:           " << toString(attributes.getAccessType()) << '\n'
              << "writable:         " << yesOrNo(attributes.getWritable()) << '\n'
              << "shareable:        " << yesOrNo(attributes.getShareable()) << '\n'
              << "shared folder:    " << yesOrNo(attributes.isSharedFolder()) << '\n'
              << "watermark:        " << shown(attributes.getWatermark()) << '\n';
}

void stat(const kvxclient::FileAccess& files, const RemoteName& name) {
    if (name.hasTrailingSlash()) {
        requireFolder(files, name);
    }
    kvxclient::FileAttributesReadRequest request(name.resource());
    request.withSharingMetadata(true);
    const auto response = files.readFileAttributes(std::move(request));
    static bool first = true;
    std::cout << (std::exchange(first, false) ? "" : "\n");
    printAttributes(name, response.getFileAttributes());
}

}  // namespace

void addLsAndStat(CLI::App& program, Invocation& invocation) {
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
    command->footer(
        "Control characters in names are escaped on a terminal, and are as they are in a pipe.\n"
        "\n"
        "Examples:\n"
        "  kvx ls\n"
        "  kvx ls -lh team:/docs");
    command->callback([options, &invocation] {
        if (options->names.empty()) {
            options->names.push_back(":/");
        }
        invocation.runInSession([options](const Session& session, Diagnostics& diagnostics) {
            ls(session.files(), diagnostics, *options);
        });
    });

    addForEachName(program, invocation, "stat", "Show all attributes of files and folders",
                   [](const Session& session, Diagnostics&, const RemoteName& name) {
                       stat(session.files(), name);
                   })
        ->footer(
            "Examples:\n"
            "  kvx stat /docs/a.txt");
}

}  // namespace storage::kvxtool
