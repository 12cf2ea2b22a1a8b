#include <iostream>
#include <limits>
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

struct UsageOptions {
    std::vector<std::string> names;
    std::size_t depth = std::numeric_limits<std::size_t>::max();
    bool summarize = false;
    bool human = false;
    bool total = false;
    bool json = false;
};

struct Usage {
    unsigned long bytes = 0;
    unsigned long files = 0;
    unsigned long folders = 0;

    Usage& operator+=(const Usage& other) {
        bytes += other.bytes;
        files += other.files;
        folders += other.folders;
        return *this;
    }
};

void print(const std::string& name, const Usage& usage, const UsageOptions& options) {
    if (options.json) {
        printJson({{"name", name},
                   {"size", usage.bytes},
                   {"files", usage.files},
                   {"folders", usage.folders}});
    } else {
        std::cout << (options.human ? humanSize(usage.bytes) : std::to_string(usage.bytes)) << '\t'
                  << shown(name) << '\n';
    }
}

/// Adds up folders that come one by one, each before those below it, and prints each after those.
class UsageCount {
public:
    explicit UsageCount(const UsageOptions& options) : options_(options) {}

    void visit(const RemoteName& folder, const std::vector<RemoteEntry>& entries) {
        while (!open_.empty() && !folder.isBelow(open_.back().name)) {
            leaveFolder();
        }
        open_.push_back({folder, {}});
        Usage& usage = open_.back().usage;
        for (const RemoteEntry& entry : entries) {
            usage += {entry.size, entry.folder ? 0UL : 1UL, entry.folder ? 1UL : 0UL};
        }
    }

    Usage finish() {
        while (!open_.empty()) {
            leaveFolder();
        }
        return total_;
    }

private:
    struct Folder {
        RemoteName name;
        Usage usage;
    };

    void leaveFolder() {
        const Folder folder = std::move(open_.back());
        open_.pop_back();
        if (open_.size() <= options_.depth) {
            print(folder.name.text(), folder.usage, options_);
        }
        (open_.empty() ? total_ : open_.back().usage) += folder.usage;
    }

    const UsageOptions& options_;
    std::vector<Folder> open_;
    Usage total_;
};

Usage usageOf(const kvxclient::FileAccess& files, Diagnostics& diagnostics, const RemoteName& name,
              const UsageOptions& options) {
    const RemoteEntry entry = readEntry(files, name);
    if (!entry.folder) {
        const Usage usage{entry.size, 1, 0};
        print(name.text(), usage, options);
        return usage;
    }
    UsageCount count(options);
    walkFolders(files, diagnostics, name, true,
                [&](const RemoteName& folder, const std::vector<RemoteEntry>& entries) {
                    count.visit(folder, entries);
                });
    return count.finish();
}

void du(const kvxclient::FileAccess& files, Diagnostics& diagnostics, const UsageOptions& options) {
    Usage total;
    for (const std::string& name : options.names) {
        diagnostics.guard(
            name, [&] { total += usageOf(files, diagnostics, RemoteName::parse(name), options); });
    }
    if (options.total) {
        print("total", total, options);
    }
}

}  // namespace

void addDu(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<UsageOptions>();
    CLI::App* command = program.add_subcommand("du", "Show how many bytes folders have");
    command
        ->add_option("REMOTE", options->names,
                     "Folders and files; the root of your bucket by default")
        ->type_name("");
    CLI::Option* summarize =
        command->add_flag("-s", options->summarize, "Show what was named, no folders below");
    command->add_option("-d", options->depth, "Show folders to this depth; all are counted")
        ->type_name("DEPTH")
        ->check(CLI::Range(0, 9999))
        ->excludes(summarize);
    command->add_flag("-h", options->human, "Show sizes for people, as 1.5M");
    command->add_flag("-c", options->total, "Show the total of all names in the end");
    command->footer(
        "Shows every folder below, unless -s or -d 1 says how few are enough.\n"
        "Counts the bytes of all files below, hidden ones as well, as they are now: what older\n"
        "versions and removed files take is not in it.\n"
        "\n"
        "Examples:\n"
        "  kvx du -sh\n"
        "  kvx du -d 1 team:/ | sort -n");
    command->callback([options, &invocation] {
        options->json = invocation.json;
        options->depth = options->summarize ? 0 : options->depth;
        if (options->names.empty()) {
            options->names.push_back(":/");
        }
        invocation.runInSession([options](const Session& session, Diagnostics& diagnostics) {
            du(session.files(), diagnostics, *options);
        });
    });
}

}  // namespace storage::kvxtool
