#include <iostream>

#include "cli/Completion.h"
#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/RemoteTree.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

void print(const TypedLine& line, const std::string& candidate, const std::string& description) {
    std::cout << candidate.substr(line.cut) << '\t' << description << '\n';
}

/// Prints what can be in front of a path, the bucket and the colon.
void printBuckets(const StoreLocation& location, const TypedLine& line) {
    const std::string& typed = line.words.back();
    if (typed.empty() || typed.ends_with(':')) {
        print(line, (typed.empty() ? ":" : typed) + "/", "");
        return;
    }
    if (location.isRemote()) {
        return;  // Only who administers a store may see all its buckets.
    }
    for (const kvxstore::Bucket& bucket : openStore(location)->listBuckets()) {
        const std::string name = toUtf8(bucket.name) + ":";
        if (name.starts_with(typed)) {
            print(line, name, "");
        }
    }
}

/// Prints the names in the store that begin with the last word.
void printRemoteNames(const StoreLocation& location, const TypedLine& line) {
    const std::string& typed = line.words.back();
    const std::size_t slash = typed.rfind('/');
    if (slash == std::string::npos) {
        printBuckets(location, line);
        return;
    }
    const std::string folder = typed.substr(0, slash + 1);
    const std::string begin = typed.substr(slash + 1);
    const Session session(location);
    const auto request = listRequest(RemoteName::parse(folder), begin.starts_with('.'));
    for (const RemoteEntry& entry : entriesOf(session.files().listFolder(request))) {
        const std::string name = toUtf8(entry.name);
        // A name that would break the line cannot be offered.
        if (name.starts_with(begin) && name == escaped(name)) {
            print(line, folder + name + (entry.folder ? "/" : ""), "");
        }
    }
}

/// Prints lines of a candidate, a tab and a description, or the word "local" alone for local names.
void complete(Invocation& invocation) {
    const TypedLine line(invocation.text("LINE"), invocation.text("--breaks"));
    const Completion completion(invocation.program, line);
    for (const Completion::Candidate& candidate : completion.candidates()) {
        print(line, candidate.text, candidate.description);
    }
    const Completion::Names names = completion.names();
    if (names == Completion::Names::REMOTE ||
        (names == Completion::Names::EITHER && RemoteName::isRemote(line.words.back()))) {
        printRemoteNames(completion.store().empty() ? storeOf(invocation)
                                                    : StoreLocation::find(completion.store()),
                         line);
    } else if (names != Completion::Names::NONE) {
        std::cout << "local\n";
    }
}

}  // namespace

Command completeCommand() {
    return {
        .name = "complete",
        .summary = "What can follow",
        .group = "",
        .options = {argument("LINE", "The command line up to the cursor"),
                    option("--breaks", "CHARACTERS", "Where the shell's editor begins a new word")},
        .run = complete};
}

}  // namespace storage::kvxtool
