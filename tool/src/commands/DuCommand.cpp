#include <limits>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "ui/Terminal.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

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

void printUsage(const Invocation& invocation, const std::string& name, const Usage& usage) {
    const bool human = invocation.has("-h");
    const std::string size = human ? humanSize(usage.bytes) : std::to_string(usage.bytes);
    invocation.out.print(
        {{"name", name}, {"size", usage.bytes}, {"files", usage.files}, {"folders", usage.folders}},
        size + '\t' + shown(name));
}

/// Adds up folders that come one by one, each before those below it, and prints each after those.
class UsageCount {
public:
    explicit UsageCount(const Invocation& invocation)
        : invocation_(invocation),
          depth_(invocation.has("-s")   ? 0
                 : invocation.has("-d") ? static_cast<std::size_t>(invocation.number("-d"))
                                        : std::numeric_limits<std::size_t>::max()) {}

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
        if (open_.size() <= depth_) {
            printUsage(invocation_, folder.name.text(), folder.usage);
        }
        (open_.empty() ? total_ : open_.back().usage) += folder.usage;
    }

    const Invocation& invocation_;
    const std::size_t depth_;
    std::vector<Folder> open_;
    Usage total_;
};

Usage usageBelow(const Session& session, Invocation& invocation, const RemoteName& name) {
    const RemoteEntry entry = readEntry(session.files(), name);
    if (!entry.folder) {
        const Usage usage{entry.size, 1, 0};
        printUsage(invocation, name.text(), usage);
        return usage;
    }
    UsageCount count(invocation);
    walkFolders(session.files(), invocation.diagnostics, name, true,
                [&](const RemoteName& folder, const std::vector<RemoteEntry>& entries) {
                    count.visit(folder, entries);
                });
    return count.finish();
}

void du(const Session& session, Invocation& invocation) {
    Usage total;
    for (const std::string& name : namesOrRoot(invocation)) {
        invocation.diagnostics.guard(
            name, [&] { total += usageBelow(session, invocation, RemoteName::parse(name)); });
    }
    if (invocation.has("-c")) {
        printUsage(invocation, "total", total);
    }
}

}  // namespace

Command duCommand() {
    return {.name = "du",
            .summary = "Show how many bytes folders have",
            .group = "Files",
            .options = {argument("REMOTE", "Folders and files; the root of your bucket by default",
                                 ANY_NUMBER),
                        flag("-s", "Show what was named, no folders below"),
                        option("-d", "DEPTH", "Show folders to this depth; all are counted")
                            .inRange(0, 9999)
                            .without("-s"),
                        flag("-h", "Show sizes for people, as 1.5M"),
                        flag("-c", "Show the total of all names at the end")},
            .notes = R"(Shows every folder below, unless -s or -d 1 says how few are enough.
Counts the bytes of all files below, hidden ones as well, as they are now: what older
versions and removed files take is not in it.)",
            .examples = {"kvx du -sh", "kvx du -d 1 team:/ | sort -n"},
            .run = inSession(du)};
}

}  // namespace storage::kvxtool
