#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "commands/Commands.h"
#include "local/LocalWatch.h"
#include "remote/ChangeFeed.h"
#include "sync/Sync.h"

namespace storage::kvxtool {
namespace {

struct WatchOptions {
    bool watch = false;
    double interval = 2;
};

SyncReport::Lines summaryLinesFor(const Invocation& invocation, bool dryRun) {
    if (invocation.json) {
        return SyncReport::Lines::JSON;
    }
    if (invocation.verbose || dryRun) {
        return SyncReport::Lines::ACTIONS;
    }
    return invocation.quiet ? SyncReport::Lines::NONE : SyncReport::Lines::SUMMARY;
}

/// Compares and transfers once more. Returns whether it came to its end. The first time it throws
/// when a folder cannot be read: it may be a wrong name, for which nobody wants to wait.
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
    ChangeFeed feed(session, {sync.remote()}, "");
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

void sync(const Session& session, Diagnostics& diagnostics, const SyncOptions& options,
          SyncReport::Lines lines, const WatchOptions& watching) {
    Sync sync(session.files(), diagnostics, options, lines);
    const auto interval = std::chrono::milliseconds(static_cast<long>(watching.interval * 1000));
    if (!watching.watch) {
        sync.run();
    } else if (sync.isUp()) {
        followLocal(sync, diagnostics, interval);
    } else {
        followRemote(session, sync, diagnostics, interval);
    }
}

void addOptions(CLI::App& command, SyncOptions& options, WatchOptions& watching) {
    command.add_option("SOURCE", options.source, "The folder to be like")
        ->type_name("")
        ->required();
    command.add_option("TARGET", options.target, "The folder to change")->type_name("")->required();
    command.add_flag("--delete", options.rules.deletes,
                     "Delete in the target what the source does not have");
    command.add_flag("--checksum", options.rules.byContent,
                     "Compare contents, not modification times");
    CLI::Option* dryRun = command.add_flag("-n,--dry-run", options.dryRun,
                                           "Print what there is to do, and do nothing");
    addJobsOption(command, options.transfer);
    CLI::Option* watch =
        command.add_flag("--watch", watching.watch, "Go on with every change, until Ctrl-C")
            ->excludes(dryRun);
    command
        .add_option("--interval", watching.interval,
                    "With --watch, the seconds between looks for changes in the store")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.01, 86400.0))
        ->needs(watch)
        ->capture_default_str();
}

}  // namespace

void addSync(CLI::App& program, Invocation& invocation) {
    auto options = std::make_shared<SyncOptions>();
    auto watching = std::make_shared<WatchOptions>();
    CLI::App* command = program.add_subcommand(
        "sync", "Make a folder like another one: in the store, or out of it");
    addOptions(*command, *options, *watching);
    command->footer(
        "One folder is local and one in the store. The target is created where it is missing. "
        "Files\n"
        "that differ in size or modification time are transferred; what only the target has "
        "stays,\n"
        "unless --delete is given, and so does what is a file here and a folder there. Links and\n"
        "special files are left out on both sides, with a warning in the source. A file that\n"
        "changes while it is read is not stored. A folder that is named on the command line may\n"
        "be a link. Permissions are not kept.\n"
        "\n"
        "-v prints each action: put, get, delete or mkdir, with the path below the folder. --json\n"
        "prints {\"action\", \"path\", \"size\"}, with \"dryRun\": true in a dry run, and at the "
        "end\n"
        "{\"action\": \"summary\", \"files\", \"size\", \"folders\", \"deleted\", \"unchanged\", "
        "\"failed\",\n"
        "\"dryRun\"}.\n"
        "\n"
        "Examples:\n"
        "  kvx sync ./photos :/photos\n"
        "  kvx sync -n --delete team:/docs ./docs\n"
        "  kvx sync --watch ./notes :/notes");
    command->callback([options, watching, &invocation] {
        options->verbose = invocation.verbose && !invocation.quiet;
        const SyncReport::Lines lines = summaryLinesFor(invocation, options->dryRun);
        invocation.runInSession(
            [options, watching, lines](const Session& session, Diagnostics& diagnostics) {
                options->transfer.store = session.storeFile();
                sync(session, diagnostics, *options, lines, *watching);
            });
    });
}

}  // namespace storage::kvxtool
