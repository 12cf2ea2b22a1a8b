#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "remote/ChangeFeed.h"
#include "ui/Text.h"

namespace storage::kvxtool {
namespace {

void printChange(const Output& out, const Change& change) {
    const std::string name =
        change.resource.getUTF8Bucket() + ":" + toUtf8(change.resource.getPath());
    out.print({{"name", name}, {"type", change.folder ? "folder" : "file"}},
              escaped(name) + (change.folder && !name.ends_with('/') ? "/" : ""));
}

void watch(const Session& session, Invocation& invocation) {
    std::vector<RemoteName> names;
    for (const std::string& name : invocation.texts("REMOTE")) {
        names.push_back(RemoteName::parse(name));
    }
    ChangeFeed feed(session.notifications(), session.files(), names, invocation.text("--since"));
    const auto printChanges = [&] {
        for (const Change& change : feed.read()) {
            printChange(invocation.out, change);
        }
    };
    if (invocation.has("--since")) {
        if (refusedWith(kvxclient::KVXClientErrorCode::RESOURCE_NOT_FOUND, printChanges)) {
            throw Failure(ExitCode::NOT_FOUND, invocation.text("--since"),
                          "no watermark of this store");
        }
    } else if (invocation.has("--all")) {
        printChanges();
    } else {
        feed.read();
    }
    if (invocation.has("--once")) {
        invocation.out.print({{"watermark", feed.watermark()}}, "watermark " + feed.watermark());
        return;
    }
    const std::chrono::duration<double> interval(invocation.number("--interval"));
    while (std::cout.flush()) {
        std::this_thread::sleep_for(interval);
        invocation.diagnostics.guard("", printChanges);
    }
}

}  // namespace

Command watchCommand() {
    return {
        .name = "watch",
        .summary = "Print the names of files and folders as they change",
        .group = "Sync",
        .options = {argument("REMOTE", "Names in the store; everything by default", ANY_NUMBER),
                    option("--since", "WATERMARK", "Begin where a watermark was printed, not now"),
                    flag("--all", "Begin with all there is").without("--since"),
                    flag("--once", "Print what there is and a watermark to go on from, and end"),
                    option("--interval", "SECONDS", "Seconds from one look to the next")
                        .inRange(0.01, 86400.0)
                        .withInitial("1")},
        .notes =
            R"(A name stands for itself, all that is below it, and the folders above it, which may take it
along when they are moved or removed. Names are printed as bucket:/path, folders with a /
at the end, control characters escaped. What was moved or removed is printed too, and is no
longer there. With --json each is {"name", "type"}, and the watermark {"watermark"}.
Ends with Ctrl-C.)",
        .examples = {"kvx watch team:/docs",
                     "kvx watch --once                      # prints a watermark",
                     "kvx watch --once --since WATERMARK    # what has changed since, and the next "
                     "watermark"},
        .run = inSession(watch)};
}

}  // namespace storage::kvxtool
