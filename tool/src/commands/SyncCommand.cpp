#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <iostream>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <utility>

#include "commands/Commands.h"
#include "commands/Running.h"
#include "local/LocalWatch.h"
#include "remote/ChangeFeed.h"
#include "sync/Sync.h"

namespace storage::kvxtool {
namespace {

/// Compares and transfers once more, and returns whether that succeeded. The first time, throws
/// when a folder cannot be read: its name may be wrong.
bool runPass(Sync& sync, Diagnostics& diagnostics, bool isFirst) {
    diagnostics.beginPass();
    if (isFirst) {
        sync.run();
        return true;
    }
    return diagnostics.guard("", [&] { sync.run(); });
}

/// Tells a folder from another one that is made in its place; empty where there is none.
std::string identityOf(const std::filesystem::path& folder) {
    struct statx status {};
    if (statx(AT_FDCWD, folder.c_str(), 0, STATX_INO | STATX_BTIME, &status) != 0) {
        return {};
    }
    std::ostringstream identity;
    identity << status.stx_dev_major << ':' << status.stx_dev_minor << ':' << status.stx_ino << ':'
             << status.stx_btime.tv_sec << '.' << status.stx_btime.tv_nsec;
    return identity.str();
}

void followLocal(Sync& sync, Diagnostics& diagnostics, std::chrono::milliseconds interval) {
    bool warned = false;
    bool first = true;
    std::string known;
    while (std::cout.flush()) {
        const std::string identity = identityOf(sync.local());
        if (!known.empty() && !identity.empty() && identity != known) {
            throw Failure(ExitCode::CONFLICT, sync.local().string(),
                          "another folder has taken its place: begin again if that is right");
        }
        known = known.empty() ? identity : known;
        LocalWatch watch(sync.local());
        if (!watch.isComplete() && !warned && std::filesystem::exists(sync.local())) {
            warned = true;
            diagnostics.warn(sync.local().string(),
                             "not every folder can be watched: compared again at each interval");
        }
        const bool compared = runPass(sync, diagnostics, std::exchange(first, false));
        std::cout.flush();
        watch.wait(compared && watch.isComplete() ? LocalWatch::FOREVER : interval);
    }
}

void followRemote(const Session& session, Sync& sync, Diagnostics& diagnostics,
                  std::chrono::milliseconds interval) {
    ChangeFeed feed(session.notifications(), session.files(), {sync.remote()}, "");
    feed.read();
    bool first = true;
    while (std::cout.flush()) {
        bool again = !runPass(sync, diagnostics, std::exchange(first, false));
        std::cout.flush();
        do {
            std::this_thread::sleep_for(interval);
            diagnostics.guard("", [&] { again = !feed.read().empty() || again; });
        } while (!again);
    }
}

void sync(const Session& session, Invocation& invocation) {
    Diagnostics& diagnostics = invocation.diagnostics;
    SyncOptions options;
    options.source = invocation.text("SOURCE");
    options.target = invocation.text("TARGET");
    options.rules = {
        invocation.has("--delete"),
        invocation.has("--checksum"),
        invocation.has("--update"),
        invocation.has("--ignore-existing"),
        invocation.has("--size-only"),
        std::chrono::nanoseconds(static_cast<long>(invocation.number("--modify-window") * 1e9))};
    if (invocation.has("--max-delete")) {
        options.mostDeletions = static_cast<unsigned long>(invocation.number("--max-delete"));
    }
    options.anyDeletions = invocation.has("--force");
    options.dryRun = invocation.has("--dry-run");
    options.transfer = transferOptions(session, invocation);
    Sync sync(session.files(), invocation.out, diagnostics, options);
    const std::chrono::milliseconds interval(
        static_cast<long>(invocation.number("--interval") * 1000));
    if (!invocation.has("--watch")) {
        sync.run();
    } else if (sync.isUp()) {
        followLocal(sync, diagnostics, interval);
    } else {
        followRemote(session, sync, diagnostics, interval);
    }
}

}  // namespace

Command syncCommand() {
    return {
        .name = "sync",
        .summary = "Make a folder like another one: in the store, or out of it",
        .group = "Sync",
        .options = {argument("SOURCE", "The folder to copy"),
                    argument("TARGET", "The folder to change"),
                    flag("--delete", "Delete in the target what the source does not have"),
                    option("--max-delete", "N",
                           "With --delete, refuse to delete more than so many files")
                        .inRange(0, std::numeric_limits<int>::max())
                        .together("--delete"),
                    flag("--force", "With --delete, delete any number of files")
                        .together("--delete")
                        .without("--max-delete"),
                    flag("--checksum", "Compare contents, not modification times"),
                    flag("--size-only", "Compare sizes alone").without("--checksum"),
                    flag("-u,--update", "Keep a file that was modified later in the target"),
                    flag("--ignore-existing", "Keep every file that the target has"),
                    option("--modify-window", "SECONDS", "Take times so close for the same")
                        .inRange(0.0, 86400.0)
                        .withInitial("0"),
                    flag("-n,--dry-run", "Print what there is to do, and do nothing"), jobsOption(),
                    flag("--watch", "Go on with every change, until Ctrl-C").without("--dry-run"),
                    option("--interval", "SECONDS",
                           "With --watch, the seconds between looks for changes in the store")
                        .inRange(0.01, 86400.0)
                        .together("--watch")
                        .withInitial("2")},
        .notes =
            R"(One folder is local and one in the store. The target is created where it is missing. Files
that differ in size or modification time are transferred; what only the target has stays,
unless --delete is given, and so does what is a file here and a folder there. Where more than
10 files and more than half of those in the target would be deleted, perhaps since the source
is a disk that is not mounted, nothing is done; --max-delete N or --force allows it. Links and
special files are left out on both sides, with a warning in the source. A file that
changes while it is read is not stored. A folder that is named on the command line may
be a link. Permissions are not kept, nor is the time 1970-01-01 00:00:00, which a store takes
for none: such a file gets the time at which it is stored.

-v prints each action: put, get, delete or mkdir, with the path below the folder. --json
prints {"action", "path", "size"}, with "dryRun": true in a dry run, and at the end
{"action": "summary", "files", "size", "folders", "deleted", "unchanged", "failed",
"dryRun"}.)",
        .examples = {"kvx sync ./photos :/photos", "kvx sync -n --delete team:/docs ./docs",
                     "kvx sync --watch ./notes :/notes"},
        .run = inSession(sync)};
}

}  // namespace storage::kvxtool
